// RUN: %not %icode-cc %s -o %t.icode 2>&1 | %FileCheck %s
// RUN: test ! -e %t.icode
typedef int int4 __attribute__((ext_vector_type(4)));
void f(int4 a, int4 b, int k) {
  // CHECK: refuse-vectors.c:[[@LINE+1]]:{{[0-9]+}}: error: assignment to several vector elements is not supported
  a.xy = b.zw;
  // CHECK: refuse-vectors.c:[[@LINE+1]]:{{[0-9]+}}: error: vector has no such element
  a[5] = k;
}
