#include "support/psn.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace {

std::mutex text_lock;
std::mutex psnmap_lock;

struct PSN_HASH {
  size_t operator()(const PSN& p) const {
    size_t h = reinterpret_cast<size_t>(p.file);
    h = h * 1000003 + p.line;
    return h * 1000003 + p.column;
  }
};

struct PSN_EQUAL {
  bool operator()(const PSN& a, const PSN& b) const {
    return a.file == b.file && a.line == b.line && a.column == b.column;
  }
};

std::unordered_set<std::string> texts;
std::unordered_set<PSN, PSN_HASH, PSN_EQUAL> psnmap;
std::unordered_map<const PSN*, I_SYMTAB*> owners;

} // namespace

const char* intern_text(const char* text) {
  if (!text) return nullptr;
  std::lock_guard<std::mutex> hold(text_lock);
  return texts.emplace(text).first->c_str();
}

PSN* make_psn(const char* file, unsigned line, unsigned column) {
  const char* name = intern_text(file);
  std::lock_guard<std::mutex> hold(psnmap_lock);
  // Positions are immutable once made, so handing out the set's element is safe.
  return const_cast<PSN*>(&*psnmap.insert(PSN{name, line, column}).first);
}

void note_psn_owner(const PSN* psn, I_SYMTAB* owner) {
  std::lock_guard<std::mutex> hold(psnmap_lock);
  owners[psn] = owner;
}

I_SYMTAB* find_psn_owner(const PSN* psn) {
  std::lock_guard<std::mutex> hold(psnmap_lock);
  const auto place = owners.find(psn);
  return place == owners.end() ? nullptr : place->second;
}

std::vector<std::pair<const PSN*, I_SYMTAB*>> psn_owners() {
  std::vector<std::pair<const PSN*, I_SYMTAB*>> all;
  {
    std::lock_guard<std::mutex> hold(psnmap_lock);
    all.assign(owners.begin(), owners.end());
  }
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) {
    if (a.first->file != b.first->file)
      return strcmp(a.first->file ? a.first->file : "", b.first->file ? b.first->file : "") < 0;
    return std::tie(a.first->line, a.first->column) < std::tie(b.first->line, b.first->column);
  });
  return all;
}

void forget_psn_owners() {
  std::lock_guard<std::mutex> hold(psnmap_lock);
  owners.clear();
}
