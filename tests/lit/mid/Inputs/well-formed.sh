# well-formed.sh ICODE-AS ICODE-RUN VRX-MID: one change a line in a unit that is good; prints the statuses.
as=$1 run=$2 mid=$3
cat > unit.ict <<'END'
icode -71 "w.c"
type fn.main = fn int ()
type fn.int = fn int (int n)
type struct.s = struct { x: int, y: int }
type struct.t = struct { s: struct.s }
global main: fn.main
global f: fn.int
global g: fn.int
global v: struct.s
global tab: int[2]
init tab = { 1, 2 }
func f {
  param n: int
  RETURN(f, n)
}
func g {
  param n: int
  RETURN(g, n)
}
func main {
  auto i: int
  auto p: int*
  ASG(i, 1)
  ASG(p, UAND(i))
  ASG(UMULT(p), 2)
  CBRANCH(EQ(i, 1), L1)
  ASG(STDOT(v, .x), CALL(UAND(f), i))
L1:
  RETURN(main, 0)
}
END
try() {
  name=$1
  sed "$2" unit.ict > $name.ict
  $as $name.ict -o $name.icode 2>> log || { echo "$name is not assembled"; return; }
  $run $name.icode > /dev/null 2>> log
  first=$?
  $mid $name.icode $name.opt > /dev/null 2>> log
  echo "$name $first $?"
}
try good ''
try size 's/global tab: int.2./& size=64/'
try scalar 's/ASG(i, 1)/ASG(i, v)/'
try lvalue 's/ASG(i, 1)/ASG(PLUS(i, 1), 1)/'
try pointer 's/UMULT(p), 2/UMULT:int(i), 2/'
try wrapped 's/UMULT(p), 2/UMULT:int(DDNODE[0,0,0]:int*(i)), 2/'
try field 's/STDOT(v, .x)/STDOT:int(v, i)/'
try arguments 's/UAND(f), i/UAND(f), {i, i}/'
try label 's/, L1)/, L2)/'
try twice 's/^  RETURN(main/L1:\n&/'
try room 's/{ 1, 2 }/{ 1, 2, 3 }/'
try class 's/  auto i: int/  symbol(30) i: int/'
try name 's/  auto i: int/  symbol(6) i: int/'
try bodies 's/global g: fn.int/global g "f": fn.int/'
try void 's/ASG(i, 1)/ASG(i, PLUS:void(i, 1))/'
try object 's/UMULT(p), 2/UMULT:void(p), 2/'
try itself 's/{ s: struct.s }/{ s: struct.t }/'
