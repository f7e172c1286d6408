// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: alignment of a type name is not supported
typedef int aligned_int __attribute__((aligned(8)));
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: alignment to other than a power of two up to 4096 units
int far_aligned __attribute__((aligned(8192)));
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: attribute 'alias' is not supported
extern int other __attribute__((alias("far_aligned")));
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: alignment of a local variable to more than two units
int f(void) { int x __attribute__((aligned(8))) = 3; return x; }
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: member lies too far behind the first one
struct far { int most[300000000]; int last; } beyond;
