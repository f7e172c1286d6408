// Mutations of bytes and of records as bytes; mutate_unit.cpp has those of the decoded unit.
#include "tests/fuzz/mutations.h"

#include "tools/unit/unit.h"

#include <algorithm>

namespace fuzz {

namespace {

const uint8_t telling_bytes[] = {0, 1, 2, 0x7F, 0x80, 0xFE, 0xFF};

// Where a record begins, and its payload.
struct RECORD_PLACE {
  size_t begin, payload, end;
};

std::vector<RECORD_PLACE> record_places(const BYTES& bytes) {
  std::vector<RECORD_PLACE> places;
  for (size_t at = 0; at < bytes.size();) {
    RECORD_PLACE place{at, at + 1, at + 1};
    if (bytes[at++] != TAG_EOF) {
      size_t length = 0;
      for (int shift = 0; at < bytes.size() && shift < 28; shift += 7) {
        const uint8_t b = bytes[at++];
        length |= static_cast<size_t>(b & 0x7F) << shift;
        if (!(b & 0x80)) break;
      }
      place.payload = at;
      at = place.end = std::min(bytes.size(), at + length);
    }
    places.push_back(place);
  }
  return places;
}

auto at_offset(BYTES& bytes, size_t offset) {
  return bytes.begin() + static_cast<BYTES::difference_type>(offset);
}
auto at_offset(const BYTES& bytes, size_t offset) {
  return bytes.begin() + static_cast<BYTES::difference_type>(offset);
}

void erase(BYTES& bytes, size_t from, size_t count) {
  bytes.erase(at_offset(bytes, from), at_offset(bytes, from + count));
}

void mutate_one_byte(uint8_t& byte, RANDOM& random) {
  switch (random.below(4)) {
  case 0: byte ^= static_cast<uint8_t>(1u << random.below(8)); break;
  case 1: byte = static_cast<uint8_t>(random.next()); break;
  case 2: byte = telling_bytes[random.below(sizeof telling_bytes)]; break;
  default: byte = static_cast<uint8_t>(byte + (random.below(2) ? 1 : -1)); break;
  }
}

void change_payload(BYTES& payload, RANDOM& random) {
  const size_t at = random.below(payload.size() + 1);
  if (payload.empty() || random.one_in(5))
    payload.insert(at_offset(payload, at), telling_bytes[random.below(sizeof telling_bytes)]);
  else if (at == payload.size() || random.one_in(5))
    erase(payload, std::min(at, payload.size() - 1), 1);
  else
    mutate_one_byte(payload[at], random);
}

// A record of a file that is taken apart.
struct RECORD {
  uint8_t tag;
  BYTES payload;
};

constexpr size_t HEADER_OFFSETS = 14; // in the header's payload, behind magic, version and CPU id
constexpr size_t SECTIONS = 5;

// A file as records, and which of them the header's offsets name.
struct RECORDS {
  std::vector<RECORD> records;
  size_t sections[SECTIONS]; // 0 for an offset that names no record
};

RECORDS take_apart(const BYTES& bytes) {
  RECORDS file{{}, {}};
  const std::vector<RECORD_PLACE> places = record_places(bytes);
  for (const RECORD_PLACE& p : places)
    file.records.push_back(
        {bytes[p.begin], BYTES(at_offset(bytes, p.payload), at_offset(bytes, p.end))});
  if (places.empty() || file.records[0].payload.size() < HEADER_OFFSETS + 4 * SECTIONS) return file;
  for (size_t s = 0; s < SECTIONS; s++) {
    size_t offset = 0;
    for (size_t k = 4; k-- > 0;)
      offset = offset << 8 | file.records[0].payload[HEADER_OFFSETS + 4 * s + k];
    for (size_t k = 0; k < places.size(); k++)
      if (places[k].begin == offset) file.sections[s] = k;
  }
  return file;
}

BYTES put_together(RECORDS& file) {
  BYTES bytes;
  std::vector<size_t> begins;
  for (const RECORD& record : file.records) {
    begins.push_back(bytes.size());
    bytes.push_back(record.tag);
    if (record.tag == TAG_EOF) continue;
    size_t rest = record.payload.size();
    for (; rest >= 0x80; rest >>= 7)
      bytes.push_back(static_cast<uint8_t>(rest | 0x80));
    bytes.push_back(static_cast<uint8_t>(rest));
    bytes.insert(bytes.end(), record.payload.begin(), record.payload.end());
  }
  if (file.records.empty() || file.records[0].tag == TAG_EOF) return bytes;
  const size_t length = file.records[0].payload.size();
  size_t field = HEADER_OFFSETS + 1; // behind the tag and the length
  for (size_t rest = length; rest; rest >>= 7)
    field++;
  for (size_t s = 0; s < SECTIONS && length >= HEADER_OFFSETS + 4 * SECTIONS; s++)
    if (const size_t k = file.sections[s]; k != 0 && k < begins.size())
      for (size_t byte = 0; byte < 4; byte++)
        bytes[field + 4 * s + byte] = static_cast<uint8_t>(begins[k] >> 8 * byte);
  return bytes;
}

} // namespace

void mutate_bytes(BYTES& bytes, const std::vector<BYTES>& seeds, RANDOM& random) {
  if (bytes.empty()) return;
  const size_t at = random.below(bytes.size());
  switch (random.below(9)) {
  case 0:
  case 1:
  case 2:
  case 3: mutate_one_byte(bytes[at], random); break;
  case 4: bytes.resize(at); break;
  case 5: erase(bytes, at, 1 + random.below(std::min<size_t>(bytes.size() - at, 40))); break;
  default: { // whole records of some file in, in front of a record of this one
    const BYTES& from = seeds[random.below(seeds.size())];
    const std::vector<RECORD_PLACE> there = record_places(from), here = record_places(bytes);
    const size_t first = random.below(there.size());
    const size_t last = std::min(there.size(), first + 1 + random.below(6));
    const size_t begin = there[first].begin;
    const size_t end = last < there.size() ? there[last].begin : from.size();
    const size_t to = here[random.below(here.size())].begin;
    if (random.below(2))
      bytes.insert(at_offset(bytes, to), at_offset(from, begin), at_offset(from, end));
    else
      for (size_t k = begin; k < end && to + k - begin < bytes.size(); k++)
        bytes[to + k - begin] = from[k];
  }
  }
}

void mutate_payload(BYTES& bytes, const std::vector<BYTES>& seeds, RANDOM& random,
                    const std::function<void(BYTES&)>& change) {
  RECORDS file = take_apart(bytes);
  std::vector<RECORD>& records = file.records;
  if (records.size() < 2) return;
  const size_t at = 1 + random.below(records.size() - 1); // the header may be left alone
  const size_t kind = random.below(8);
  if (kind < 5) {
    change(records[random.one_in(50) ? 0 : at].payload);
  } else if (kind == 5) {
    std::swap(records[at], records[1 + random.below(records.size() - 1)]);
  } else {
    // Records in or out move the sections behind them.
    long moved = -1;
    if (kind == 6 && records.size() > 2) {
      records.erase(records.begin() + static_cast<long>(at));
    } else {
      const RECORDS from = take_apart(seeds[random.below(seeds.size())]);
      if (from.records.empty()) return;
      const RECORD copy = from.records[random.below(from.records.size())];
      records.insert(records.begin() + static_cast<long>(at), copy);
      moved = 1;
    }
    for (size_t& section : file.sections)
      if (section > at) section = static_cast<size_t>(static_cast<long>(section) + moved);
  }
  bytes = put_together(file);
}

void mutate_payload(BYTES& bytes, const std::vector<BYTES>& seeds, RANDOM& random) {
  mutate_payload(bytes, seeds, random, [&](BYTES& payload) { change_payload(payload, random); });
}

} // namespace fuzz
