// How often a counted loop goes round.
//
//   i = 3; i < 10; i += 2  -->  4 times, then i is 11

#include "OPT5/tripcount.h"

#include "ifile/opcodes.h"

WIDE wrapped(WIDE value, unsigned width, bool is_signed) {
  const WIDE modulus = WIDE(1) << width;
  WIDE rest = value % modulus;
  if (rest < 0) rest += modulus;
  return is_signed && rest >= modulus / 2 ? rest - modulus : rest;
}

namespace {

struct RANGE {
  WIDE least, most;
};

using WORD = unsigned __int128; // for products, of which the lowest bits are wanted

WIDE low_bits(WORD value, unsigned width) {
  return static_cast<WIDE>(value & ((WORD(1) << width) - 1));
}

bool is_unsigned_comparison(int op) {
  return op == ULT || op == ULE || op == UGT || op == UGE;
}

// The inverse of an odd number, modulo 2 to the power of width (Newton's iteration: each round
// doubles the number of bits that are right).
WORD inverse(WORD odd, unsigned width) {
  WORD result = odd;
  for (unsigned bits = 3; bits < width; bits *= 2)
    result *= 2 - odd * result;
  return result;
}

// first + count * step is bound, where sums wrap round.
std::optional<WIDE> count_to_equality(WIDE first, WIDE bound, WIDE step, unsigned width) {
  WIDE distance = wrapped(bound - first, width, false);
  if (distance == 0) return 0;
  WIDE stride = wrapped(step, width, false);
  if (stride == 0) return std::nullopt;
  while (stride % 2 == 0) {
    if (distance % 2 != 0) return std::nullopt; // it is stepped over for ever
    stride /= 2;
    distance /= 2;
    width--;
  }
  return low_bits(static_cast<WORD>(distance) * inverse(static_cast<WORD>(stride), width), width);
}

// Steps upward, at least one, until i is at or above `limit`: `first` is below it. Where i leaves
// the range on the way, only if it then is where the test fails.
std::optional<WIDE> steps_up_to(WIDE first, WIDE limit, WIDE step, RANGE range) {
  const WIDE count = (limit - first + step - 1) / step;
  if (first + count * step > range.most) return std::nullopt;
  return count;
}

// Steps until i leaves the range at its lower or upper end. There it comes in at the other one.
WIDE steps_to_wrap(WIDE first, WIDE step, RANGE range) {
  return step < 0 ? (first - range.least) / -step + 1 : (range.most - first) / step + 1;
}

} // namespace

std::optional<TRIPS> count_trips(const COUNTED_TEST& test) {
  // Comparisons without sign are those of the same bits as unsigned numbers.
  const bool is_signed = test.is_signed && !is_unsigned_comparison(test.op);
  const unsigned width = test.width;
  const WIDE half = WIDE(1) << (width - 1);
  const RANGE range = is_signed ? RANGE{-half, half - 1} : RANGE{0, 2 * half - 1};
  WIDE first = wrapped(test.first, width, is_signed), bound = wrapped(test.bound, width, is_signed);
  WIDE step = wrapped(test.step, width, true); // adding 255 in 8 bits takes 1 away
  auto give = [&](WIDE count) {
    const WORD last =
        static_cast<WORD>(test.first) + static_cast<WORD>(count) * static_cast<WORD>(test.step);
    return TRIPS{count, wrapped(low_bits(last, width), width, test.is_signed)};
  };

  int op = test.op;
  if (op == EQ) {
    if (first != bound) return give(0);
    if (wrapped(step, width, false) == 0) return std::nullopt;
    return give(1);
  }
  if (op == NEQ) {
    const std::optional<WIDE> count = count_to_equality(first, bound, step, width);
    if (!count) return std::nullopt;
    return give(*count);
  }

  // i > b is -i < -b: what remains are LT and LE, upward.
  RANGE turned = range;
  if (op == GT || op == GE || op == UGT || op == UGE) {
    first = -first;
    bound = -bound;
    step = -step;
    turned = {-range.most, -range.least};
    op = op == GT || op == UGT ? LT : LE;
  } else if (op == ULT || op == ULE) {
    op = op == ULT ? LT : LE;
  }
  const WIDE limit = op == LE ? bound + 1 : bound; // the least value for which the test fails
  if (first >= limit) return give(0);
  if (step == 0 || limit > turned.most) return std::nullopt;
  if (step > 0) {
    const std::optional<WIDE> count = steps_up_to(first, limit, step, turned);
    if (!count) return std::nullopt;
    return give(*count);
  }
  // Downward, and round: for (unsigned i = n - 1; i < n; i--).
  const WIDE count = steps_to_wrap(first, step, turned);
  const WIDE after = first + count * step + 2 * half;
  if (after < limit) return std::nullopt;
  return give(count);
}
