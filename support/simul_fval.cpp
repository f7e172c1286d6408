#include "support/simul_fval.h"

#include "DIAG/abort.h"
#include "support/float_words.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>

const simul_fval pos_zero = {{}, F_ZERO_EXP, 0};
const simul_fval neg_zero = {{}, F_ZERO_EXP, 1};
const simul_fval a_nan = {{0x8000}, F_SPECIAL_EXP, 0};
const simul_fval pos_huge = {{}, F_SPECIAL_EXP, 0};
const simul_fval neg_infin = {{}, F_SPECIAL_EXP, 1};
const simul_fval one = {{0x8000}, 1, 0};
const simul_fval four = {{0x8000}, 3, 0};

constinit thread_local uint32_t fp_error = 0;
std::mutex atof_lock;

int f_neg(const simul_fval* a, simul_fval* result) {
  *result = *a;
  result->sign ^= 1;
  return 0;
}

int f_abs(const simul_fval* a, simul_fval* result) {
  *result = *a;
  result->sign = 0;
  return 0;
}

bool f_bit_eq(const simul_fval* a, const simul_fval* b) {
  return memcmp(a->mant, b->mant, sizeof a->mant) == 0 && a->exp == b->exp && a->sign == b->sign;
}

void f_left_justify(simul_fval* v) {
  if (v->exp == F_SPECIAL_EXP || f_is_zero(v)) return;
  if (f_normalize(v->mant, &v->exp, F_MANT_WORDS) != 0) {
    fprintf(stderr, ">>>Internal Error: Illegal float representation!\n");
    end_failing_run();
  }
}

void f_rnd_prectbl(const precise_sim_fval* table, int n, simul_fval* result) {
  for (int k = 0; k < n; k++) {
    memcpy(result[k].mant, table[k].mant, sizeof result[k].mant);
    result[k].exp = table[k].exp;
    result[k].sign = table[k].sign;
    bool carry = table[k].mant[F_MANT_WORDS] & 0x8000;
    for (int i = F_MANT_WORDS; carry && i-- > 0;)
      carry = ++result[k].mant[i] == 0;
    if (carry) {
      result[k].mant[0] = 0x8000;
      result[k].exp++;
    }
  }
}

double f_ftoh(const simul_fval* v) {
  trg_fval raw;
  // Asking for the host's value is no operation of the target.
  const uint32_t errors = fp_error;
  ieee_cvt_stod(v, &raw);
  fp_error = errors;
  return std::bit_cast<double>(static_cast<uint64_t>(raw.words[1]) << 32 | raw.words[0]);
}

void f_dbg(const char* label, const simul_fval* v) {
  printf("%s mant:", label);
  for (uint16_t word : v->mant)
    printf(" %04x", word);
  printf(" exp:  %d, sign: %d\n", v->exp, v->sign);
}

void f_print(const simul_fval* v) {
  std::string text;
  f_f2ascii(v, 'g', 17, &text);
  printf("%s", text.c_str());
}
