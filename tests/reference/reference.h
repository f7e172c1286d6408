// Comparison of the target arithmetic with references that share nothing with it: counts, and for
// approximations the largest error.
#pragma once

#include "support/xi.h"

#include <gmpxx.h>

#include <cstdint>
#include <random>
#include <string>

struct ROW {
  std::string name;
  uint64_t compared = 0, mismatches = 0;

  explicit ROW(std::string what) : name(std::move(what)) {}
  // Counts a comparison; the first mismatches of a row are shown by text().
  template <class TEXT> void compare(bool same, TEXT text) {
    compared++;
    if (same) return;
    if (mismatches++ < 5) show_mismatch(text());
  }
  void print() const;

private:
  void show_mismatch(const std::string& text) const;
};

using RANDOM = std::mt19937_64;

// The bytes of a number's low 128 bits, and the number that 16 bytes hold.
void to_xi(const mpz_class& v, unsigned char* bytes);
mpz_class from_xi(const unsigned char* bytes);

// Each gives the number of mismatches, of errors beyond what is allowed for the last.
uint64_t compare_integers(uint64_t count, RANDOM& random);
uint64_t compare_arithmetic(uint64_t count, RANDOM& random);
uint64_t compare_conversions(uint64_t count, RANDOM& random);
uint64_t compare_texts(uint64_t count, RANDOM& random);
uint64_t compare_functions(uint64_t count, RANDOM& random);
