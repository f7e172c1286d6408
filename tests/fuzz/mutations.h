// Changes of icode files at random, for the fuzzers. The same RANDOM makes the same changes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace fuzz {

using BYTES = std::vector<uint8_t>;

struct RANDOM {
  uint64_t state;
  explicit RANDOM(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 1) {}
  uint64_t next() {
    state ^= state << 13;
    state ^= state >> 7;
    state ^= state << 17;
    return state;
  }
  size_t below(size_t n) { return n ? next() % n : 0; }
  bool one_in(size_t n) { return below(n) == 0; }
};

// Bytes changed, cut, or overwritten without regard to what they mean.
void mutate_bytes(BYTES& bytes, const std::vector<BYTES>& seeds, RANDOM& random);

// Changes the payload of one record, or puts records in or out, and puts the record's length and
// the section offsets in the header right. `change` changes a payload.
void mutate_payload(BYTES& bytes, const std::vector<BYTES>& seeds, RANDOM& random,
                    const std::function<void(BYTES&)>& change);
void mutate_payload(BYTES& bytes, const std::vector<BYTES>& seeds, RANDOM& random);

// Changes records of the decoded unit - types, symbols, trees, statements, tables - and encodes it
// again. False, and nothing changed, for what cannot be decoded.
bool mutate_unit(BYTES& bytes, RANDOM& random);

} // namespace fuzz
