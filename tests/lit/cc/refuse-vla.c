// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
void use(int* p);
// CHECK: refuse-vla.c:[[@LINE+2]]:{{[0-9]+}}: error: arrays of variable length are not supported
void f(int n) {
  int v[n];
  use(v);
}
// CHECK: refuse-vla.c:[[@LINE+1]]:{{[0-9]+}}: error: arrays of variable length are not supported
int g(int n, int (*p)[n]) { return p[1][2]; }
