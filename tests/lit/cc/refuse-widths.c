// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
// What would depend on the parser's own idea of a char's width.
// CHECK: refuse-widths.c:[[@LINE+1]]:{{[0-9]+}}: error: designator depends on the width of 'char'
int by_size[8] = {[sizeof(long)] = 1};
unsigned char c;
// CHECK: refuse-widths.c:[[@LINE+1]]:{{[0-9]+}}: error: selection by a type that it doesn't list on the target
int chosen(void) { return _Generic(c + 1, int: 1, long: 2); }
// CHECK: refuse-widths.c:[[@LINE+1]]:{{[0-9]+}}: error: static assertion failed "two units"
_Static_assert(sizeof(int) == 2, "two units");
// CHECK: refuse-widths.c:[[@LINE+4]]:{{[0-9]+}}: error: duplicate case value '1'
int twice(int x) {
  switch (x) {
  case 1: return 1;
  case sizeof(int): return 2;
  }
  return 0;
}
