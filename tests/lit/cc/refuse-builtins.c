// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
int f(int x) {
  // CHECK: refuse-builtins.c:[[@LINE+1]]:{{[0-9]+}}: error: built-in function '__builtin_popcount' is not supported
  return __builtin_popcount(x);
}
void g(void) {
  __builtin_va_list list;
  // CHECK: refuse-builtins.c:[[@LINE+1]]:{{[0-9]+}}: error: no argument is passed as this type
  (void)__builtin_va_arg(list, int[2]);
}
