// RUN: %icode-cc %s -o %t.icode
// RUN: %icode-dis %t.icode -o - | %FileCheck %s
// The shapes that the optimiser relies on.
struct node { struct node* next; int val; unsigned bits : 3; int arr[4]; };
struct node make(int);
int a[10][4];
// CHECK: func places
int places(struct node* p, struct node n, int i, int* q, char* c) {
  // CHECK: PCOMMA(PCOMMA(PCOMMA(PCOMMA(ASG(p.{{[0-9]+}}, p), STASG(n.{{[0-9]+}}, n)), ASG(i.
  // CHECK: ASG(q{{.*}}, PLUS(PLUS:int*(UAND:{{[^(]*}}(a), MULT(SCONV:long(i{{[.0-9]*}}), 4:long)), 3:long))
  q = &a[i][3];
  // CHECK: ASG(i{{.*}}, UMULT(PLUS(q{{[.0-9]*}}, SCONV:long(i{{[.0-9]*}}))))
  i = q[i];
  // CHECK: PLUSPLUS(p{{[.0-9]*}}, 8:long)
  p++;
  // CHECK: PLUSASG(q{{[.0-9]*}}, 1:long)
  ++q;
  // CHECK: ASG(i{{[.0-9]*}}, SCONV:int(DIV({{.*}}MINUS:long(p{{[.0-9]*}}, {{.*}}), 8:long)))
  i = p - p->next;
  // CHECK: ASG(i{{[.0-9]*}}, STFIELD(CALL(UAND(make), 3), .val))
  i = make(3).val;
  // CHECK: COMMAOP(ASG([[T:.t1]], p{{[.0-9]*}}), ASG(STREF([[T]], .bits), SCONV:uint(DIV(SCONV:int(STREF([[T]], .bits)), -2))))
  p->bits /= -2;
  // CHECK: CBRANCH(EXCLAIM(ANDAND(GT(i{{[.0-9]*}}, 0), NEQ(p{{[.0-9]*}}, 0:struct.node*))), L
  if (i > 0 && p) i = 2;
  // CHECK: MINUSASG(i{{[.0-9]*}}, SCONV:int(UMULT(c{{[.0-9]*}})))
  i -= *c;
  return i;
}
// CHECK: func unsigned_chars
int unsigned_chars(unsigned char x, int y) {
  // CHECK: RETURN(unsigned_chars, ULT(SCONV:uint(x{{[.0-9]*}}), SCONV:uint(y{{[.0-9]*}})))
  return x < y;
}
