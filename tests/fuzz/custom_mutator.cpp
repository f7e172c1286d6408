// What libFuzzer does to the bytes of icode files: mostly changes of records, so that lengths and
// offsets fit.
#include "tests/fuzz/mutations.h"

#include <algorithm>

using fuzz::BYTES;
using fuzz::RANDOM;

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t max_size);

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t max_size,
                                          unsigned seed) {
  RANDOM random(seed + 1);
  BYTES bytes(data, data + size);
  const size_t kind = random.below(4);
  if (kind == 3 || (kind < 2 && !fuzz::mutate_unit(bytes, random)))
    return LLVMFuzzerMutate(data, size, max_size);
  if (kind == 2)
    fuzz::mutate_payload(bytes, {bytes}, random, [](BYTES& payload) {
      const size_t length = payload.size();
      payload.resize(length + 16); // room for the change
      payload.resize(LLVMFuzzerMutate(payload.data(), length, payload.size()));
    });
  if (bytes.empty() || bytes.size() > max_size) return LLVMFuzzerMutate(data, size, max_size);
  std::copy(bytes.begin(), bytes.end(), data);
  return bytes.size();
}
