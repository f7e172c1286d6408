// Decimal text, both ways, against the reference library's.
#include "tests/reference/real.h"

#include <charconv>

namespace {

std::string random_text(RANDOM& random) {
  std::string text;
  auto digits = [&](size_t n) {
    for (; n; n--)
      text += static_cast<char>('0' + random() % 10);
  };
  digits(1 + random() % 20);
  if (random() & 1) {
    text += '.';
    digits(random() % 30);
  }
  if (random() & 1) text += "e" + std::to_string(static_cast<int>(random() % 680) - 345);
  return text;
}

// Digits less the zeros before and behind; 0 for zeros and specials.
size_t significant_digits(const std::string& text) {
  std::string digits;
  for (char c : text.substr(0, text.find('e')))
    if (c >= '0' && c <= '9') digits += c;
  const size_t first = digits.find_first_not_of('0');
  return first == std::string::npos ? 0 : digits.find_last_not_of('0') - first + 1;
}

// The point halfway between two neighbours in full, at times with something behind it.
template <class T> std::string midpoint_text(T a, RANDOM& random) {
  char text[1400];
  REAL middle;
  mpfr_add(middle, REAL(a), REAL(std::nextafter(a, T(0))), MPFR_RNDN);
  mpfr_div_2ui(middle, middle, 1, MPFR_RNDN);
  mpfr_snprintf(text, sizeof text, "%.1200Rf", static_cast<mpfr_srcptr>(middle));
  std::string digits = text;
  const auto kind = random() % 3;
  if (kind == 1) digits += "1";
  if (kind == 2) {
    // just below: the last digit that isn't zero goes down by one, nines follow
    const size_t last = digits.find_last_not_of("0.");
    if (last != std::string::npos) {
      digits[last]--;
      digits += "9";
    }
  }
  return digits;
}

template <class T> T number_of(const std::string& text) {
  return rounded<T>(
      [&](mpfr_ptr r) { return mpfr_strtofr(r, text.c_str(), nullptr, 0, MPFR_RNDN); });
}

template <class T> void compare_reading(ROW& row, const std::string& text) {
  simul_fval v;
  const int status = f_atof(text.c_str(), &v);
  row.compare(status == 0 && is_same(on_host<T>(v), number_of<T>(text)), [&] { return text; });
}

template <class T> void compare_writing(ROW& row, ROW& shortest, T a, RANDOM& random) {
  const simul_fval v = simulated(a);
  std::string got;
  const char letter = "efga"[random() % 4];
  const int precision = letter == 'a' ? -1 : static_cast<int>(random() % (letter == 'f' ? 60 : 30));
  f_f2ascii(&v, letter, precision, &got);
  if (letter == 'a') {
    row.compare(is_same(number_of<T>(got), a), [&] { return got; });
  } else {
    const char format[] = {'%', '.', '*', 'R', letter, 0};
    char want[512];
    mpfr_snprintf(want, sizeof want, format, precision, static_cast<mpfr_srcptr>(REAL(a)));
    row.compare(got == want, [&] { return got + ", not " + want; });
  }

  f_ftoa(&v, is_double<T>, &got);
  // The library's shortest text may be another one of as many digits.
  char known[64];
  *std::to_chars(known, known + sizeof known - 1, a, std::chars_format::scientific).ptr = 0;
  const bool reads_back = is_same(number_of<T>(got), a);
  shortest.compare(reads_back && significant_digits(got) == significant_digits(known),
                   [&] { return got + ", not as short as " + known; });
}

template <class T> uint64_t run(const std::string& type, uint64_t count, RANDOM& random) {
  ROW reading(type + " from text"), writing(type + " to text"),
      shortest(type + " to shortest text");
  std::vector<T> special = special_values<T>();
  for (uint64_t i = 0; i < count + special.size(); i++) {
    const T a = i < special.size() ? special[i] : random_value<T>(random);
    compare_reading<T>(reading, random_text(random));
    if (!std::isfinite(a)) continue;
    if (i < special.size() || i % 16 == 0) compare_reading<T>(reading, midpoint_text(a, random));
    if (i < special.size() || i % 4 == 0) compare_writing(writing, shortest, a, random);
  }
  uint64_t bad = 0;
  for (const ROW* row : {&reading, &writing, &shortest}) {
    row->print();
    bad += row->mismatches;
  }
  return bad;
}

} // namespace

uint64_t compare_texts(uint64_t count, RANDOM& random) {
  return run<float>("float", count, random) + run<double>("double", count, random);
}
