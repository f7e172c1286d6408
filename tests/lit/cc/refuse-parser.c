// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
// Faults that the parser finds, and characters that have no one value.
// CHECK: refuse-parser.c:[[@LINE+1]]:{{[0-9]+}}: error: {{.*}}undeclared
int f(void) { return nothing; }
// CHECK: refuse-parser.c:[[@LINE+1]]:{{[0-9]+}}: error: {{.*}}function 'unknown'
int g(void) { return unknown(1); }
// CHECK: refuse-parser.c:[[@LINE+1]]:{{[0-9]+}}: error: multi-character character constant
int h(void) { return 'ab'; }
void i(void) {
  // CHECK: refuse-parser.c:[[@LINE+1]]:{{[0-9]+}}: error: GNU-style inline assembly is disabled
  __asm__("nop");
  // CHECK: refuse-parser.c:[[@LINE+1]]:{{[0-9]+}}: error: pragma 'UNROLL' takes up to 1 integers
#pragma UNROLL(1, 2)
  for (;;) f();
}
// CHECK: refuse-parser.c:[[@LINE+1]]:{{[0-9]+}}: error: {{.*}}bit-field
struct s { char c : 12; };
