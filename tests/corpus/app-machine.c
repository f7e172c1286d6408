// host
#include <stdio.h>

/* A stack machine runs a program that finds primes and one that computes Collatz lengths. */
enum { PUSH, ADD, SUB, MUL, MOD, DUP, SWAP, OVER, DROP, LT, EQ, JZ, JMP, OUT, LOAD, STORE, CALL, RET, HALT };
static int stack[64], sp, calls[16], cp, memory[16];
static long steps;

static int run(const int* code) {
  const int* pc = code;
  sp = cp = 0;
  for (;; steps++) {
    int a, b;
    switch (*pc++) {
    case PUSH: stack[sp++] = *pc++; break;
    case ADD: b = stack[--sp]; stack[sp - 1] += b; break;
    case SUB: b = stack[--sp]; stack[sp - 1] -= b; break;
    case MUL: b = stack[--sp]; stack[sp - 1] *= b; break;
    case MOD: b = stack[--sp]; stack[sp - 1] %= b; break;
    case DUP: a = stack[sp - 1]; stack[sp++] = a; break;
    case SWAP: a = stack[sp - 1]; stack[sp - 1] = stack[sp - 2]; stack[sp - 2] = a; break;
    case OVER: a = stack[sp - 2]; stack[sp++] = a; break;
    case DROP: sp--; break;
    case LT: b = stack[--sp]; stack[sp - 1] = stack[sp - 1] < b; break;
    case EQ: b = stack[--sp]; stack[sp - 1] = stack[sp - 1] == b; break;
    case JZ: a = *pc++; if (!stack[--sp]) pc = code + a; break;
    case JMP: pc = code + *pc; break;
    case OUT: printf("%d ", stack[--sp]); break;
    case LOAD: stack[sp++] = memory[*pc++]; break;
    case STORE: memory[*pc++] = stack[--sp]; break;
    case CALL: calls[cp++] = (int)(pc + 1 - code); pc = code + *pc; break;
    case RET: pc = code + calls[--cp]; break;
    case HALT: return sp;
    default: return -1;
    }
  }
}

/* The length of the Collatz sequence from memory[0]. */
static const int collatz[] = {
  /* 0 */ PUSH, 0, STORE, 1,
  /* 4 */ LOAD, 0, PUSH, 1, EQ, JZ, 15, LOAD, 1, OUT, HALT,
  /* 15 */ LOAD, 1, PUSH, 1, ADD, STORE, 1,
  /* 22 */ LOAD, 0, PUSH, 2, MOD, JZ, 40,
  /* 29 */ LOAD, 0, PUSH, 3, MUL, PUSH, 1, ADD, STORE, 0,
};

int main(void) {
  int code[64];
  for (unsigned i = 0; i < sizeof collatz / sizeof *collatz; i++) code[i] = collatz[i];
  code[39] = JMP; code[40] = 4;
  /* Even: halve by counting; the odd way jumps back at once. */
  static const int halve[] = {PUSH, 0, LOAD, 0, DUP, JZ, 58, PUSH, 2, SUB, SWAP, PUSH, 1, ADD, SWAP, JMP, 46, DROP, STORE, 0, JMP, 4};
  code[28] = 42;
  for (unsigned i = 0; i < sizeof halve / sizeof *halve; i++) code[42 + i] = halve[i];
  code[48] = 59;
  for (int n = 1; n < 20; n++) {
    memory[0] = n;
    int left = run(code);
    if (left) printf("left %d ", left);
  }
  printf("%ld\n", steps);
  return 0;
}
