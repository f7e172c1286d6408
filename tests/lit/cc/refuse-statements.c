// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
// Each is reported, not only the first.
int f(int x) {
  // CHECK: refuse-statements.c:[[@LINE+1]]:{{[0-9]+}}: error: control flow in a statement expression that is evaluated conditionally
  x = x && ({ int y = 0; while (y < x) y += 3; y; });
  // CHECK: [[@LINE+1]]:{{[0-9]+}}: error: addresses of labels are not supported
  void* p = &&out;
  // CHECK: [[@LINE+1]]:3: error: computed goto is not supported
  goto *p;
out:
  switch (x) {
  case 1 ... 20000: return 1;
  }
  // CHECK: [[@LINE+1]]:20: error: a jump out of the head of a loop is not supported
  while (({ if (x) break; 1; }))
    x++;
  // CHECK: [[@LINE+1]]:21: error: a jump out of the head of a loop is not supported
  for (;; ({ if (x) continue; 1; }))
    x++;
  // CHECK-NOT: error:
  while (({ for (;;) break; x++ < 9; }))
    ;
  return x;
}
