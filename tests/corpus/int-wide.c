#include <limits.h>
#include <stdio.h>

volatile long lmax = LONG_MAX, lmin = LONG_MIN, l1 = 1;
volatile unsigned long ulmax = ULONG_MAX;
volatile long long llmax = LLONG_MAX, llmin = LLONG_MIN, ll10 = 10;
volatile unsigned long long ullmax = ULLONG_MAX;

static void check(const char* what, int ok) { if (!ok) printf("wrong: %s\n", what); }

int main(void) {
  check("long max", lmax == 2147483647L && lmax + 0uL + 1 == 2147483648uL);
  check("long min", lmin == -2147483647L - 1 && lmin < 0);
  check("ulong wrap", ulmax + 1 == 0 && ulmax * ulmax == 1);
  check("ulong div", ulmax / 3 == 1431655765uL && ulmax % 16 == 15);
  check("long div", lmin / 2 == -1073741824L && lmin % 10 == -8);
  check("mixed int long", (int)l1 + lmax - 1 == lmax);
  check("uint against long", 65535u > -1L);
  check("uint against int", !(65535u > -1));
  check("ulong against long long", ulmax > -1LL);
  check("llong", llmax / ll10 == 922337203685477580LL && llmax % ll10 == 7);
  check("llong min", llmin / ll10 == -922337203685477580LL && llmin % ll10 == -8);
  check("ullong", ullmax + 1 == 0 && ullmax / 10 == 1844674407370955161uLL);
  check("ullong product", ullmax * 3 == 18446744073709551613uLL);
  check("literals", sizeof 32767 == 1 && sizeof 32768 == 2 && sizeof 0x8000 == 1 &&
                        sizeof 0x10000 == 2 && sizeof 2147483648 == 4 && sizeof 0x80000000 == 2);
  check("literal signs", 0x8000 > 0 && 0xFFFF == 65535u && -1 == 0xFFFF);
  unsigned long long f = 1;
  for (int i = 2; i <= 20; i++) f *= (unsigned)i;
  check("factorial", f == 2432902008176640000uLL);
  long long fib = 0, next = 1;
  for (int i = 0; i < 90; i++) { long long t = fib + next; fib = next; next = t; }
  check("fibonacci", fib == 2880067194370816120LL);
  printf("%ld %lu %lld %llu\n", lmin, ulmax, llmin, ullmax);
  return 0;
}
