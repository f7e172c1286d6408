#include "tools/run/stats.h"

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
  std::string by_operator;
  for (size_t op = 0; op < nodes.size(); op++) {
    if (!nodes[op]) continue;
    by_operator += by_operator.empty() ? "" : ", ";
    by_operator += "\"" + std::string(op_name(unsigned(op))) + "\": " + std::to_string(nodes[op]);
  }
  std::string out = "{";
  auto field = [&](const char* name, uint64_t value) {
    out += "\"" + std::string(name) + "\": " + std::to_string(value) + ", ";
  };
  field("operations", operations);
  field("loads", loads);
  field("stores", stores);
  field("branches", branches);
  field("calls", calls);
  field("statements", statements);
  field("unit_nodes", p.unit.nodes.size());
  return out + "\"nodes\": {" + by_operator + "}}\n";
}

} // namespace icode::run
