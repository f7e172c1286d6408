// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
// Each is reported, not only the first.
int f(int x) {
  // CHECK: refuse-statements.c:[[@LINE+1]]:{{[0-9]+}}: error: statement expressions are not supported
  x = ({ int y = x; y + 1; });
  // CHECK: [[@LINE+1]]:{{[0-9]+}}: error: addresses of labels are not supported
  void* p = &&out;
  // CHECK: [[@LINE+1]]:3: error: computed goto is not supported
  goto *p;
out:
  return x;
}
