#include "tools/run/stats.h"

#include <nlohmann/json.hpp>

namespace icode::run {

std::string stats_json(const PROGRAM& p) {
  std::array<uint64_t, FIRST_MEMORY_OP> nodes{};
  uint64_t operations = 0, statements = 0, branches = 0, calls = 0, loads = 0, stores = 0;
  for (size_t i = 0; i < p.regions.size(); i++) {
    const REGION& r = p.regions[i];
    uint64_t times = p.region_counts[i];
    operations += times * (uint64_t(r.counts.operations) + r.loads + r.stores);
    statements += times * r.statements;
    branches += times * r.counts.branches;
    calls += times * r.counts.calls;
    loads += times * r.loads;
    stores += times * r.stores;
    for (size_t op = 0; op < nodes.size(); op++)
      nodes[op] += times * r.nodes[op];
  }
  using JSON = nlohmann::ordered_json;
  JSON by_operator = JSON::object();
  for (size_t op = 0; op < nodes.size(); op++)
    if (nodes[op]) by_operator[op_name(unsigned(op))] = nodes[op];
  const JSON all = {{"operations", operations},
                    {"loads", loads},
                    {"stores", stores},
                    {"branches", branches},
                    {"calls", calls},
                    {"statements", statements},
                    {"unit_nodes", p.unit.nodes.size()},
                    {"nodes", by_operator}};
  return all.dump() + "\n";
}

} // namespace icode::run
