// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: attributes of size and alignment are not supported
struct packed { char c; long l; } __attribute__((packed));
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: attributes of size and alignment are not supported
int aligned __attribute__((aligned(64)));
// CHECK: refuse-layout.c:[[@LINE+1]]:{{[0-9]+}}: error: attribute 'alias' is not supported
extern int other __attribute__((alias("aligned")));
