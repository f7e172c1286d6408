// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
int f(void) {
  // CHECK: refuse-wide-strings.c:[[@LINE+1]]:{{[0-9]+}}: error: wide characters are not supported
  return L'x';
}
// CHECK: refuse-wide-strings.c:[[@LINE+1]]:{{[0-9]+}}: error: wide strings are not supported
unsigned text[] = L"wide";
