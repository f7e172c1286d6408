// host
/* Long numbers of 16-bit digits: products, quotients, powers modulo a number, a test for primes. */
#include "work.h"
#include <string.h>

#define DIGITS 20

typedef struct { uint16_t d[DIGITS]; int n; } Big; /* n digits, the top one not zero */

static Big from_word(uint32_t v) {
  Big r;
  memset(&r, 0, sizeof r);
  for (; v; v >>= 16) r.d[r.n++] = (uint16_t)(v & 0xFFFF);
  return r;
}

static void trim(Big* a) {
  while (a->n > 0 && a->d[a->n - 1] == 0) a->n--;
}

static int compare(const Big* a, const Big* b) {
  if (a->n != b->n) return a->n < b->n ? -1 : 1;
  for (int k = a->n - 1; k >= 0; k--)
    if (a->d[k] != b->d[k]) return a->d[k] < b->d[k] ? -1 : 1;
  return 0;
}

static Big minus(const Big* a, const Big* b) {
  Big r = *a;
  int32_t borrow = 0;
  for (int k = 0; k < a->n; k++) {
    int32_t t = (int32_t)a->d[k] - (k < b->n ? b->d[k] : 0) - borrow;
    borrow = t < 0;
    r.d[k] = (uint16_t)(t & 0xFFFF);
  }
  trim(&r);
  return r;
}

static Big times(const Big* a, const Big* b) {
  Big r;
  memset(&r, 0, sizeof r);
  for (int i = 0; i < a->n; i++) {
    uint32_t carry = 0;
    for (int j = 0; j < b->n; j++) {
      carry += (uint32_t)a->d[i] * b->d[j] + r.d[i + j];
      r.d[i + j] = (uint16_t)(carry & 0xFFFF);
      carry >>= 16;
    }
    r.d[i + b->n] = (uint16_t)carry;
  }
  r.n = a->n + b->n;
  trim(&r);
  return r;
}

/* a becomes the remainder; gives the quotient. Digits are estimated from the top ones. */
static Big divide(Big* a, const Big* by) {
  Big q, b = *by;
  int shift = 0;
  memset(&q, 0, sizeof q);
  if (compare(a, by) < 0) return q;
  while (!((b.d[b.n - 1] << shift) & 0x8000)) shift++;
  for (int k = b.n - 1; k > 0; k--) b.d[k] = (uint16_t)((uint32_t)b.d[k] << shift | (uint32_t)b.d[k - 1] >> (16 - shift));
  b.d[0] = (uint16_t)((uint32_t)b.d[0] << shift);
  uint16_t top = (uint16_t)((uint32_t)a->d[a->n - 1] >> (16 - shift));
  for (int k = a->n - 1; k > 0; k--) a->d[k] = (uint16_t)((uint32_t)a->d[k] << shift | (uint32_t)a->d[k - 1] >> (16 - shift));
  a->d[0] = (uint16_t)((uint32_t)a->d[0] << shift);
  a->d[a->n++] = top;
  for (int k = a->n - b.n - 1; k >= 0; k--) {
    uint32_t two = (uint32_t)a->d[k + b.n] << 16 | a->d[k + b.n - 1];
    uint32_t guess = two / b.d[b.n - 1];
    if (guess > 0xFFFF) guess = 0xFFFF;
    int32_t over;
    uint32_t carry = 0, borrow = 0;
    for (int j = 0; j <= b.n; j++) {
      carry += j < b.n ? guess * b.d[j] : 0;
      over = (int32_t)a->d[k + j] - (int32_t)(carry & 0xFFFF) - (int32_t)borrow;
      a->d[k + j] = (uint16_t)(over & 0xFFFF);
      borrow = over < 0;
      carry >>= 16;
    }
    while (borrow) {
      uint32_t c = 0;
      guess--;
      for (int j = 0; j <= b.n; j++) {
        c += (uint32_t)a->d[k + j] + (j < b.n ? b.d[j] : 0);
        a->d[k + j] = (uint16_t)(c & 0xFFFF);
        c >>= 16;
      }
      if (c) borrow = 0;
    }
    q.d[k] = (uint16_t)guess;
  }
  q.n = a->n - b.n;
  trim(&q);
  trim(a);
  for (int k = 0; k < a->n; k++)
    a->d[k] = (uint16_t)((uint32_t)a->d[k] >> shift | (k + 1 < a->n ? (uint32_t)a->d[k + 1] << (16 - shift) : 0));
  trim(a);
  return q;
}

static Big power(Big base, const Big* exponent, const Big* modulus) {
  Big r = from_word(1);
  for (int k = exponent->n * 16 - 1; k >= 0; k--) {
    r = times(&r, &r);
    divide(&r, modulus);
    if (exponent->d[k / 16] >> (k % 16) & 1) {
      r = times(&r, &base);
      divide(&r, modulus);
    }
  }
  return r;
}

static int is_prime(const Big* n) {
  static const uint16_t bases[] = {2, 3, 5, 7};
  Big one = from_word(1), less = minus(n, &one), odd = less;
  int halvings = 0;
  while (!(odd.d[0] & 1)) {
    for (int k = 0; k < odd.n; k++)
      odd.d[k] = (uint16_t)(odd.d[k] >> 1 | (k + 1 < odd.n ? (uint32_t)odd.d[k + 1] << 15 : 0));
    trim(&odd);
    halvings++;
  }
  for (unsigned b = 0; b < sizeof bases / sizeof *bases; b++) {
    Big x = power(from_word(bases[b]), &odd, n);
    int passes = compare(&x, &one) == 0 || compare(&x, &less) == 0;
    for (int k = 1; k < halvings && !passes; k++) {
      x = times(&x, &x);
      divide(&x, n);
      passes = compare(&x, &less) == 0;
    }
    if (!passes) return 0;
  }
  return 1;
}

static void print(const char* what, Big a) {
  char text[DIGITS * 5 + 1];
  int at = sizeof text - 1;
  Big ten = from_word(10);
  text[at] = 0;
  do {
    Big q = divide(&a, &ten);
    text[--at] = (char)('0' + (a.n ? a.d[0] : 0));
    a = q;
  } while (a.n);
  printf("%s %s\n", what, text + at);
}

int main(void) {
  Big two = from_word(2), one = from_word(1), factorial = one, m = one;
  for (uint32_t k = 2; k <= 30; k++) {
    Big f = from_word(k);
    factorial = times(&factorial, &f);
  }
  print("factorial", factorial); /* 265252859812191058636308480000000 */
  expect("low digits", (uint32_t)factorial.d[2] << 16 | factorial.d[1], 0xF5DD5400);
  for (int k = 0; k < 61; k++) m = times(&m, &two);
  m = minus(&m, &one);
  print("candidate", m);
  expect("is prime", (uint32_t)is_prime(&m), 1);
  two = from_word(4);
  m = minus(&m, &two);
  expect("is none", (uint32_t)is_prime(&m), 0);
  /* Encryption and back with a key of two primes. */
  Big p = from_word(4294967291u), q = from_word(4294967279u), e = from_word(65537u);
  Big n = times(&p, &q), p1 = minus(&p, &one), q1 = minus(&q, &one), phi = times(&p1, &q1);
  /* The inverse of e: (1 + k phi) / e for the k that makes it whole. */
  Big rest = phi;
  divide(&rest, &e);
  uint32_t k = 1, r = rest.n ? (uint32_t)rest.d[0] | (rest.n > 1 ? (uint32_t)rest.d[1] << 16 : 0) : 0;
  uint64_t sum = 1 + (uint64_t)r;
  while (sum % 65537u) sum += r, k++;
  Big kk = from_word(k), d = times(&phi, &kk);
  d.d[0]++;
  d = divide(&d, &e);
  Big secret = from_word(123456789u), sent = power(secret, &e, &n), back = power(sent, &d, &n);
  print("sent", sent);
  expect("back", (uint32_t)back.d[1] << 16 | back.d[0], 123456789u);
  return finish();
}
