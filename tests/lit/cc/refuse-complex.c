// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
// CHECK: refuse-complex.c:[[@LINE+1]]:{{[0-9]+}}: error: type '_Complex float' is not supported
_Complex float z;
// CHECK: error: type '_Complex double' is not supported
void f(_Complex double x) {}
