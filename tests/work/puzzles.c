// host
/* Search with bits and backtracking: number squares, queens, a knight, exact covers, boolean formulas. */
#include "work.h"
#include <string.h>

/* --- number squares --- */
struct square { uint16_t rows[9], columns[9], boxes[9]; signed char cell[81]; int32_t tries; };

static int lowest(uint16_t bits) {
  int n = 0;
  while (!(bits & 1)) bits >>= 1, n++;
  return n;
}
static int population(uint16_t bits) {
  int n = 0;
  for (; bits; bits &= (uint16_t)(bits - 1)) n++;
  return n;
}

static void place(struct square* s, int at, int digit) {
  uint16_t bit = (uint16_t)(1u << digit);
  s->cell[at] = (signed char)(digit + 1);
  s->rows[at / 9] |= bit;
  s->columns[at % 9] |= bit;
  s->boxes[at / 27 * 3 + at % 9 / 3] |= bit;
}
static void remove_digit(struct square* s, int at) {
  uint16_t bit = (uint16_t)~(1u << (s->cell[at] - 1));
  s->cell[at] = 0;
  s->rows[at / 9] &= bit;
  s->columns[at % 9] &= bit;
  s->boxes[at / 27 * 3 + at % 9 / 3] &= bit;
}

static int solve(struct square* s) {
  int best = -1, fewest = 10;
  uint16_t choice = 0;
  for (int at = 0; at < 81; at++) {
    if (s->cell[at]) continue;
    uint16_t open = (uint16_t)(~(s->rows[at / 9] | s->columns[at % 9] | s->boxes[at / 27 * 3 + at % 9 / 3]) & 0x1FF);
    int n = population(open);
    if (n >= fewest) continue;
    fewest = n;
    best = at;
    choice = open;
    if (n <= 1) break;
  }
  if (best < 0) return 1;
  for (; choice; choice &= (uint16_t)(choice - 1)) {
    s->tries++;
    place(s, best, lowest(choice));
    if (solve(s)) return 1;
    remove_digit(s, best);
  }
  return 0;
}

/* --- queens --- */
static int queens(uint16_t all, uint16_t columns, uint16_t left, uint16_t right) {
  int count = 0;
  if (columns == all) return 1;
  for (uint16_t open = (uint16_t)(all & ~(columns | left | right)); open;) {
    uint16_t bit = (uint16_t)(open & -open);
    open ^= bit;
    count += queens(all, (uint16_t)(columns | bit), (uint16_t)((left | bit) << 1), (uint16_t)((right | bit) >> 1));
  }
  return count;
}

/* --- a knight visits every field --- */
enum { BOARD = 8 };
static signed char visited[BOARD][BOARD];
static const signed char jumps[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};

static int is_free(int y, int x) { return y >= 0 && y < BOARD && x >= 0 && x < BOARD && !visited[y][x]; }
static int exits(int y, int x) {
  int n = 0;
  for (int k = 0; k < 8; k++) n += is_free(y + jumps[k][0], x + jumps[k][1]);
  return n;
}
static int tour(int y, int x, int step) {
  visited[y][x] = (signed char)step;
  if (step == BOARD * BOARD) return 1;
  for (int wanted = 0; wanted <= 8; wanted++)
    for (int k = 0; k < 8; k++) {
      int y2 = y + jumps[k][0], x2 = x + jumps[k][1];
      if (is_free(y2, x2) && exits(y2, x2) == wanted && tour(y2, x2, step + 1)) return 1;
    }
  visited[y][x] = 0;
  return 0;
}

/* --- formulas: clauses of three literals --- */
#define VARIABLES 16
#define CLAUSES 62
static signed char clauses[CLAUSES][3];

static int value(signed char literal, uint16_t known, uint16_t values) {
  int v = literal < 0 ? -literal - 1 : literal - 1;
  if (!(known >> v & 1)) return -1;
  return (values >> v & 1) == (literal > 0);
}

static int satisfy(uint16_t known, uint16_t values, uint16_t* out) {
  for (;;) { /* clauses with one way left decide variables */
    int forced = 0;
    for (int c = 0; c < CLAUSES; c++) {
      int open = 0;
      signed char last = 0;
      int k = 0;
      for (; k < 3; k++) {
        int v = value(clauses[c][k], known, values);
        if (v > 0) break;
        if (v < 0) open++, last = clauses[c][k];
      }
      if (k < 3) continue;
      if (!open) return 0;
      if (open == 1) {
        int v = last < 0 ? -last - 1 : last - 1;
        known |= (uint16_t)(1u << v);
        if (last > 0) values |= (uint16_t)(1u << v);
        forced = 1;
      }
    }
    if (!forced) break;
  }
  if (known == 0xFFFF) {
    *out = values;
    return 1;
  }
  uint16_t bit = (uint16_t)(~known & (known + 1u));
  return satisfy((uint16_t)(known | bit), (uint16_t)(values | bit), out) || satisfy((uint16_t)(known | bit), values, out);
}

int main(void) {
  static const char* const given[2] = {
    "53..7....6..195....98....6.8...6...34..8.3..17...2...6.6....28....419..5....8..79",
    "8..........36......7..9.2...5...7.......457.....1...3...1....68..85...1..9....4.."};
  uint32_t sum = 0;
  for (int k = 0; k < 2; k++) {
    struct square s;
    memset(&s, 0, sizeof s);
    for (int at = 0; at < 81; at++)
      if (given[k][at] != '.') place(&s, at, given[k][at] - '1');
    if (k == 1) /* the hard one with some help */
      place(&s, 1, 0), place(&s, 2, 1);
    int solved = solve(&s);
    printf("solved %d after %ld tries\n", solved, (long)s.tries);
    for (int at = 0; at < 81; at++) sum = mix(sum, (uint32_t)s.cell[at]);
    if (!solved) work_faults++;
  }
  expect("squares", sum, 0x83927944);
  expect("six queens", (uint32_t)queens(0x3F, 0, 0, 0), 4);
  expect("eight queens", (uint32_t)queens(0xFF, 0, 0, 0), 92);
  expect("tour", (uint32_t)tour(0, 0, 1), 1);
  for (int y = 0; y < BOARD; y++) sum = mix(sum, (uint32_t)visited[y][(y * 3) % BOARD]);
  expect("steps", sum, 0x13640E7F);
  int satisfied = 0;
  for (int round = 0; round < 6; round++) {
    uint16_t values = 0;
    for (int c = 0; c < CLAUSES; c++)
      for (int k = 0; k < 3; k++) {
        signed char v = (signed char)(1 + next_random() % VARIABLES);
        clauses[c][k] = next_random() & 1 ? v : (signed char)-v;
      }
    if (!satisfy(0, 0, &values)) continue;
    satisfied++;
    for (int c = 0; c < CLAUSES; c++)
      if (!value(clauses[c][0], 0xFFFF, values) && !value(clauses[c][1], 0xFFFF, values) && !value(clauses[c][2], 0xFFFF, values))
        work_faults++;
  }
  expect("satisfied", (uint32_t)satisfied, 0x00000004);
  return finish();
}
