#include "tools/run_stats.h"

namespace icode::run {

std::string stats_json(const Program& p) {
  std::array<uint64_t, FIRST_MEMORY_OP> nodes{};
  uint64_t statements = 0, loads = 0, stores = 0, total = 0;
  for (size_t i = 0; i < p.regions.size(); ++i) {
    const Region& r = p.regions[i];
    uint64_t times = p.region_counts[i];
    statements += times * r.statements;
    loads += times * r.loads;
    stores += times * r.stores;
    for (size_t op = 0; op < nodes.size(); ++op)
      nodes[op] += times * r.nodes[op];
  }
  std::string by_operator;
  for (size_t op = 0; op < nodes.size(); ++op) {
    total += nodes[op];
    if (!nodes[op]) continue;
    by_operator += by_operator.empty() ? "" : ", ";
    by_operator += "\"" + std::string(op_name(unsigned(op))) + "\": " + std::to_string(nodes[op]);
  }
  std::string out = "{";
  auto field = [&](const char* name, uint64_t value) {
    out += "\"" + std::string(name) + "\": " + std::to_string(value) + ", ";
  };
  field("total", total);
  field("statements", statements);
  field("branches", nodes[BRANCH] + nodes[CBRANCH] + nodes[SWITCH]);
  field("calls", nodes[CALL] + nodes[UCALL]);
  field("loads", loads);
  field("stores", stores);
  return out + "\"nodes\": {" + by_operator + "}}\n";
}

} // namespace icode::run
