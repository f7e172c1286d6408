// RUN: %icode-cc %s -O "-o2 --opt_for_speed=4" -o %t.icode
// RUN: %icode-dis %t.icode -o - | %FileCheck %s
// CHECK: options 0 "-o2" "--opt_for_speed=4"
// CHECK: options 1 "-o2" "--opt_for_speed=4" "-o3"
// CHECK-DAG: global small: {{.*}} opt=1 pragma(88 "always inline")
// CHECK-DAG: static kept: int {{.*}}keep=1
// CHECK-DAG: static count$count_up: int {{.*}}pragma(51 "count_up")
// CHECK-DAG: static count$count_up$2: int
static int kept __attribute__((used)) = 3;
__attribute__((annotate("options:-o3"), always_inline)) int small(int x) { return x + 1; }
// The pragmas stand before the label, behind what runs ahead of the loop.
// CHECK: func count_up
// CHECK: ASG(i, 0)
// CHECK-NEXT: pragma 85 "4"
// CHECK-NEXT: pragma 77 "2" "" "8"
// CHECK-NEXT: L
// CHECK: pragma 85 "2"
// CHECK-NEXT: L
// CHECK-NOT: pragma 85
int count_up(int n) {
  static int count;
#pragma UNROLL(4)
#pragma MUST_ITERATE(2, , 8)
  for (int i = 0; i < n; i++) count += small(i);
#pragma UNROLL(2)
  while (n > 0) n--;
  {
    static int count;
    count++;
  }
#pragma UNROLL(9)
  n++;
  for (; n < 5; n++) count++;
  __builtin_assume(n > 2);
  // CHECK: NASSERT(GT(n{{[.0-9]*}}, 2))
  return n;
}
