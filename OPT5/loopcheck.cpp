// The tree of loops held against the graph, and shown.

#include "OPT5/dominator.h"
#include "OPT5/funinfo.h"
#include "OPT5/loop.h"
#include "OPT5/streams.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace {

// Counts what is wrong, and tells it on the debug stream.
class VALIDATOR {
public:
  VALIDATOR(LOOP* top, bool puts_right) : root(currfuninfo->loop_root), correct(puts_right) {
    for (LOOP* loop = top; loop && above < limit(); loop = loop->parent)
      above++;
    for (BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink) {
      present.insert(bb);
      if (bb->loop) by_loop[bb->loop].push_back(bb);
    }
    for (const auto& loop : currfuninfo->loops)
      records.insert(loop.get());
  }

  void check(LOOP* loop) {
    std::vector<LOOP*> pending{loop};
    std::unordered_set<const LOOP*> met{loop};
    while (!pending.empty()) {
      LOOP* each = pending.back();
      pending.pop_back();
      check_one(each);
      for (const EDGE* e = each->contents; e; e = e->rest) {
        LOOP* inner = e->first ? e->first->loop : nullptr;
        if (inner && inner != each && records.count(inner) && inner->head == e->first &&
            met.insert(inner).second)
          pending.push_back(inner);
      }
    }
  }

  int corrected = 0, uncorrected = 0;
  std::string first_fault;

private:
  LOOP* root;
  bool correct;
  int above = 0;
  std::unordered_set<const BBLK*> present;
  std::unordered_set<const LOOP*> records;
  std::unordered_map<const LOOP*, std::vector<BBLK*>> by_loop;

  static int limit() { return static_cast<int>(currfuninfo->loops.size()) + 1; }

  static std::string name_of(const BBLK* bb) { return bb ? bb->str() : "NULL"; }

  [[gnu::format(printf, 2, 3)]] void tell(const char* format, ...) {
    va_list args;
    va_start(args, format);
    put_down(format, args);
    va_end(args);
    uncorrected++;
  }
  // What `correct` puts right.
  [[gnu::format(printf, 2, 3)]] void tell_corrected(const char* format, ...) {
    va_list args;
    va_start(args, format);
    put_down(format, args);
    va_end(args);
    (correct ? corrected : uncorrected)++;
  }
  void put_down(const char* format, va_list args) {
    char text[200];
    vsnprintf(text, sizeof text, format, args);
    if (first_fault.empty()) first_fault = text;
    print_if_debug("%s", text);
  }

  bool is_in(const BBLK* bb, const LOOP* loop) const {
    int steps = 0;
    for (const LOOP* at = bb->loop; at && steps++ < limit(); at = at->parent)
      if (at == loop) return true;
    return false;
  }

  void check_level(LOOP* loop) {
    int ancestors = 0;
    for (const LOOP* at = loop->parent; at && ancestors <= limit(); at = at->parent)
      ancestors++;
    if (ancestors > limit()) return tell(" +++++ Loop %d has >%d ancestors\n", loop->uid, limit());
    if (loop->level == ancestors) return;
    tell_corrected(" ----- Loop %d has incorrect level (%d --> %d)\n", loop->uid, loop->level,
                   ancestors);
    if (correct) loop->level = static_cast<short>(ancestors);
  }

  void check_inner(LOOP* loop, LOOP* inner) {
    if (inner->parent != loop)
      tell(" +++++ Loop %d inner loop %d has wrong parent: %d\n", loop->uid, inner->uid,
           inner->parent ? inner->parent->uid : -1);
    else if (inner->level != loop->level + 1) {
      tell_corrected(" ----- Loop %d has inner loop %d with wrong level\n", loop->uid, inner->uid);
      if (correct) inner->level = static_cast<short>(loop->level + 1);
    }
  }

  void check_contents(LOOP* loop) {
    std::unordered_set<const BBLK*> members;
    for (const EDGE* e = loop->contents; e; e = e->rest) {
      BBLK* bb = e->first;
      if (!bb) {
        tell(" +++++ Loop %d contents includes a NULL bb\n", loop->uid);
        continue;
      }
      members.insert(bb);
      if (!present.count(bb)) {
        tell(" +++++ Deleted %s thinks it's in Loop %d\n", name_of(bb).c_str(), loop->uid);
      } else if (!bb->loop) {
        tell_corrected(" ----- Loop %d has body member %s with NULL <loop>\n", loop->uid,
                       name_of(bb).c_str());
        if (correct) bb->loop = loop;
      } else if (bb->loop != loop) {
        if (records.count(bb->loop) && bb->loop->head == bb)
          check_inner(loop, bb->loop);
        else
          tell(" +++++ %s incorrectly thinks it's NOT in Loop %d\n", name_of(bb).c_str(),
               loop->uid);
      }
    }
    for (const BBLK* bb : by_loop[loop]) {
      if (!members.count(bb))
        tell(" +++++ %s incorrectly thinks it's in Loop %d\n", name_of(bb).c_str(), loop->uid);
      if (root && root->irreducible && loop != root)
        tell(" +++++ %s in Loop%d should be in the irreducible loop0\n", name_of(bb).c_str(),
             loop->uid);
    }
  }

  void check_ends(LOOP* loop) {
    const BBLK *head = loop->head, *tail = loop->tail, *preheader = loop->preheader;
    if (!head || !present.count(head) || head->loop != loop)
      return tell(" +++++ Loop %d head is missing or invalid\n", loop->uid);
    if (!tail || !present.count(tail) || tail->loop != loop)
      return tell(" +++++ Loop %d tail is missing or invalid\n", loop->uid);
    if (!preheader || !present.count(preheader) || is_in(preheader, loop) ||
        preheader->loop != loop->parent)
      return tell(" +++++ Loop %d preheader is missing or invalid\n", loop->uid);
    for (const EDGE* e = head->predecessors; e; e = e->rest)
      if (e->first != tail && e->first != preheader) {
        tell(" +++++ Loop %d header has improper predecessors\n", loop->uid);
        break;
      }
    check_tail(loop);
  }

  void check_tail(const LOOP* loop) {
    const BBLK* tail = loop->tail;
    const std::string name = name_of(tail);
    const int ways = edge_length(tail->successors);
    const LIST* last = tail->last_statement();
    if (ways > 2 && !(last && last->tree->op == SWITCH))
      tell(" +++++ Loop %d tail %s has too many successors\n", loop->uid, name.c_str());
    if (ways == 0) tell(" +++++ Loop %d tail %s has no successor\n", loop->uid, name.c_str());
    for (const EDGE* e = tail->successors; e; e = e->rest)
      if (e->first != loop->head && is_in(e->first, loop))
        tell(" +++++ Loop %d tail %s has improper successor: %s\n", loop->uid, name.c_str(),
             name_of(e->first).c_str());
  }

  void check_exits(const LOOP* loop) {
    for (const EDGE* e = loop->exitBBs; e; e = e->rest) {
      bool is_proper = e->first && present.count(e->first) && !is_in(e->first, loop);
      if (is_proper)
        for (const EDGE* from = e->first->predecessors; from; from = from->rest)
          is_proper &= is_in(from->first, loop);
      if (!is_proper)
        tell(" +++++ Loop %d has improper exit %s\n", loop->uid, name_of(e->first).c_str());
    }
  }

  void check_edges(LOOP* loop) {
    for (const BBLK* bb : by_loop[loop])
      for (const EDGE* e = bb->successors; e; e = e->rest) {
        const BBLK* to = e->first;
        if (!to->loop) continue;
        if (to->dfn <= bb->dfn && (to->loop->head != to || to->loop->tail != bb))
          tell(" +++++ Improper back edge from %s in loop #%d to %s\n", name_of(bb).c_str(),
               loop->uid, name_of(to).c_str());
        if (to->loop != loop && to->loop->head != to && !is_in(bb, to->loop))
          tell(" +++++ %s (loop#%d) branched to from %s (loop#%d)\n", name_of(to).c_str(),
               to->loop->uid, name_of(bb).c_str(), loop->uid);
      }
  }

  void check_one(LOOP* loop) {
    print_if_debug("===== Validating LOOP %d at level %d\n", loop->uid, loop->level);
    check_level(loop);
    check_contents(loop);
    if (loop->parent) {
      check_ends(loop);
      check_exits(loop);
    }
    if (!root || !root->irreducible) check_edges(loop);
  }
};

} // namespace

int validate_loop(LOOP* loop, int correct) {
  VALIDATOR validator(loop, correct != 0);
  validator.check(loop);
  print_if_debug(" ===== (%d,%d) Corrected errors: %d, Uncorrected errors: %d\n\n", loop->uid,
                 correct, validator.corrected, validator.uncorrected);
  return validator.uncorrected;
}

static void print_blocks(const char* what, const EDGE* list) {
  print_if_debug("%s", what);
  for (; list; list = list->rest)
    print_if_debug(" %s", list->first->str().c_str());
}

void dump_loop_hierarchy(const LOOP* loop) {
  std::vector<const LOOP*> pending{loop};
  while (!pending.empty()) {
    const LOOP* each = pending.back();
    pending.pop_back();
    print_if_debug("%*sLOOP %d, level %d", 2 * each->level, "", each->uid, each->level);
    if (each->irreducible) print_if_debug(", the irreducible loop0");
    if (each->flags & LF_CONSERVATIVE_CLONE) print_if_debug(", conservative clone");
    if (each->flags & LF_AGGRESSIVE_CLONE) print_if_debug(", aggressive clone");
    if (each->flags & LF_FAVORED_CLONE) print_if_debug(", favored clone");
    if (each->flags & LF_DEPRECATED_CLONE) print_if_debug(", deprecated clone");
    if (each->reflection) print_if_debug(" of loop %d", each->reflection->uid);
    if (each->head) print_if_debug(", head %s", each->head->str().c_str());
    if (each->tail) print_if_debug(", tail %s", each->tail->str().c_str());
    if (each->preheader) print_if_debug(", preheader %s", each->preheader->str().c_str());
    print_blocks(", contents", each->contents);
    if (each->exitBBs) print_blocks(", exits", each->exitBBs);
    if (each->has_improper_exit) print_if_debug(" (improper)");
    print_if_debug("\n");
    const std::vector<LOOP*> inner = inner_loops(each);
    pending.insert(pending.end(), inner.rbegin(), inner.rend());
  }
}

const char* loops_fault() {
  static thread_local std::string fault;
  for (const BBLK* bb = currfuninfo->bb_list; bb; bb = bb->dflink)
    if (!bb->loop) return "a block is in no loop, not even the root";
  VALIDATOR validator(currfuninfo->loop_root, false);
  validator.check(currfuninfo->loop_root);
  fault = validator.first_fault;
  return validator.uncorrected ? fault.c_str() : nullptr;
}
