// host
/* A script is compiled to code for a stack machine, which runs it with calls, loops and an array. */
#include "work.h"
#include <ctype.h>
#include <string.h>

enum opcode { PUSH, LOAD, STORE, GET, SET, ADD, SUB, MUL, DIV, MOD, LESS, SAME, NOT, JUMP, JUMP_IF_NOT, CALL, RETURN, PRINT, HALT };

#define CODE 600
#define STACK 200
#define CELLS 512

static int16_t code[CODE];
static int code_size;
static int32_t cells[CELLS];
static int32_t globals[26];
static struct { char name[8]; int entry; } routines[10];
static int routine_count;
static const char* at;
static const char* fault;

static void emit(int v) {
  if (code_size < CODE) code[code_size++] = (int16_t)v;
  else fault = "code";
}
static int emit_jump(int op) {
  emit(op);
  emit(0);
  return code_size - 1;
}

static void skip(void) {
  while (isspace((unsigned char)*at)) at++;
}
static int accept(const char* token) {
  size_t n = strlen(token);
  skip();
  if (strncmp(at, token, n) || (isalpha((unsigned char)token[0]) && isalnum((unsigned char)at[n]))) return 0;
  at += n;
  return 1;
}
static void need(const char* token) {
  if (!accept(token) && !fault) fault = token;
}

static void expression(void);

static int routine(const char* name, size_t n) {
  for (int k = 0; k < routine_count; k++)
    if (strlen(routines[k].name) == n && !strncmp(routines[k].name, name, n)) return k;
  return -1;
}

static void primary(void) {
  skip();
  if (accept("(")) {
    expression();
    need(")");
  } else if (accept("!")) {
    primary();
    emit(NOT);
  } else if (accept("-")) {
    emit(PUSH);
    emit(0);
    primary();
    emit(SUB);
  } else if (accept("[")) {
    expression();
    need("]");
    emit(GET);
  } else if (isdigit((unsigned char)*at)) {
    int v = 0;
    while (isdigit((unsigned char)*at)) v = v * 10 + (*at++ - '0');
    emit(PUSH);
    emit(v);
  } else if (islower((unsigned char)*at)) {
    const char* name = at;
    while (islower((unsigned char)*at)) at++;
    size_t n = (size_t)(at - name);
    if (n == 1) {
      emit(LOAD);
      emit(*name - 'a');
      return;
    }
    int r = routine(name, n);
    if (r < 0) fault = "unknown routine";
    need("(");
    need(")");
    emit(CALL);
    emit(r < 0 ? 0 : routines[r].entry);
    emit(LOAD);
    emit('r' - 'a');
  } else {
    fault = "expression";
    at += *at != 0;
  }
}

static const struct { const char* token; int op, level; } operators[] = {
  {"*", MUL, 3}, {"/", DIV, 3}, {"%", MOD, 3}, {"+", ADD, 2}, {"-", SUB, 2}, {"<", LESS, 1}, {"==", SAME, 1}};

static void climb(int level) {
  primary();
  for (;;) {
    unsigned k = 0;
    for (; k < sizeof operators / sizeof *operators; k++)
      if (operators[k].level >= level && accept(operators[k].token)) break;
    if (k == sizeof operators / sizeof *operators || fault) return;
    climb(operators[k].level + 1);
    emit(operators[k].op);
  }
}
static void expression(void) { climb(1); }

static void statement(void) {
  if (fault) return;
  if (accept("{")) {
    while (!accept("}") && !fault) statement();
  } else if (accept("while")) {
    int top = code_size;
    expression();
    int out = emit_jump(JUMP_IF_NOT);
    statement();
    emit(JUMP);
    emit(top);
    code[out] = (int16_t)code_size;
  } else if (accept("if")) {
    expression();
    int no = emit_jump(JUMP_IF_NOT);
    statement();
    if (accept("else")) {
      int end = emit_jump(JUMP);
      code[no] = (int16_t)code_size;
      statement();
      code[end] = (int16_t)code_size;
    } else {
      code[no] = (int16_t)code_size;
    }
  } else if (accept("print")) {
    expression();
    need(";");
    emit(PRINT);
  } else if (accept("return")) {
    expression();
    need(";");
    emit(STORE);
    emit('r' - 'a');
    emit(RETURN);
  } else if (accept("[")) {
    expression();
    need("]");
    need("=");
    expression();
    need(";");
    emit(SET);
  } else {
    skip();
    int v = *at - 'a';
    at += *at != 0;
    need("=");
    expression();
    need(";");
    emit(STORE);
    emit(v < 0 || v > 25 ? 0 : v);
  }
}

static int compile(const char* text) {
  at = text;
  fault = 0;
  code_size = routine_count = 0;
  int start = emit_jump(JUMP);
  while (accept("def")) {
    skip();
    const char* name = at;
    while (islower((unsigned char)*at)) at++;
    memset(routines[routine_count].name, 0, sizeof routines[0].name);
    memcpy(routines[routine_count].name, name, (size_t)(at - name));
    routines[routine_count++].entry = code_size;
    statement();
    emit(RETURN);
  }
  code[start] = (int16_t)code_size;
  for (skip(); *at && !fault; skip()) statement();
  emit(HALT);
  return !fault;
}

static uint32_t printed;

static int32_t run(void) {
  int32_t stack[STACK], steps = 0;
  int top = 0, pc = 0, calls[20], depth = 0;
  for (;; steps++) {
    int op = code[pc++];
    int32_t y;
    switch (op) {
    case PUSH: stack[top++] = code[pc++]; break;
    case LOAD: stack[top++] = globals[code[pc++]]; break;
    case STORE: globals[code[pc++]] = stack[--top]; break;
    case GET: stack[top - 1] = cells[stack[top - 1] & (CELLS - 1)]; break;
    case SET:
      top -= 2;
      cells[stack[top] & (CELLS - 1)] = stack[top + 1];
      break;
    case NOT: stack[top - 1] = !stack[top - 1]; break;
    case JUMP: pc = code[pc]; break;
    case JUMP_IF_NOT: pc = stack[--top] ? pc + 1 : code[pc]; break;
    case CALL:
      calls[depth++] = pc + 1;
      pc = code[pc];
      break;
    case RETURN: pc = calls[--depth]; break;
    case PRINT:
      printf("%ld\n", (long)stack[--top]);
      printed = mix(printed, (uint32_t)stack[top]);
      break;
    case HALT: return steps;
    default:
      y = stack[--top];
      int32_t* x = &stack[top - 1];
      if (op == ADD) *x += y;
      else if (op == SUB) *x -= y;
      else if (op == MUL) *x *= y;
      else if (op == DIV) *x = y ? *x / y : 0;
      else if (op == MOD) *x = y ? *x % y : 0;
      else if (op == LESS) *x = *x < y;
      else *x = *x == y;
    }
  }
}

static const char primes[] =
  "def sieve { i = 2; while i * i < n { if ![i] { k = i * i; while k < n { [k] = 1; k = k + i; } } i = i + 1; } return 0; }"
  "n = 500; a = sieve(); c = 0; i = 2; s = 0; while i < n { if ![i] { c = c + 1; s = s + i; } i = i + 1; } print c; print s;";
static const char numbers[] =
  "def gcd { while b { t = a % b; a = b; b = t; } return a; }"
  "def fact { if n < 2 return 1; n = n - 1; m = m * (n + 1); if 1 < n { n = n; return fact(); } return m; }"
  "x = 1; g = 0; while x < 60 { y = 1; while y < 12 { a = x * 6; b = y * 9; g = g + gcd(); y = y + 1; } x = x + 1; }"
  "print g; n = 9; m = 1; z = fact(); print m; print -7 / 2 + 3 * (4 - 1) % 5;";

int main(void) {
  if (!compile(primes)) return 1;
  int32_t steps = run();
  expect("primes below 500", (uint32_t)globals['c' - 'a'], 95);
  expect("their sum", (uint32_t)globals['s' - 'a'], 21536);
  if (!compile(numbers)) return 1;
  steps += run();
  expect("factorial", (uint32_t)globals['m' - 'a'], 362880);
  expect("steps", (uint32_t)steps, 0x0000D5DC);
  expect("printed", printed, 0x1A4131BD);
  expect("refused", compile("x = (1 + ;") || compile("while 1 { x = 2; "), 0);
  return finish();
}
