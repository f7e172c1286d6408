// setjmp and longjmp. What a jump goes back to is kept here, by the address of its jmp_buf; the
// jmp_buf itself holds a number that tells whether it is still the one that was set.
#include "tools/run/library.h"

namespace icode::run {

namespace {

// The function that runs, or waits for a call, at the jump's depth of calls.
ACTIVE_FRAME frame_of(const MACHINE& m, const JUMP_POINT& to) {
  size_t level = size_t(to.nesting);
  bool is_outer = level < m.outer_frames.size();
  const ACTIVE_FRAME& last = is_outer ? m.outer_frames[level] : m.current;
  if (to.depth == last.depth) return last;
  if (to.depth > last.depth) return {};
  const CALL_RECORD& call = m.calls[to.depth];
  return {call.function, call.registers, call.frame, to.depth};
}

} // namespace

void set_jump(LIBRARY_CALL& c) {
  MACHINE& m = c.m;
  uint32_t at = c.pointer(0);
  c.need_write(at, 2);
  uint32_t number = ++m.last_jump;
  m.memory.store(at, 32, number);
  JUMP_POINT& point = m.jumps[at];
  point.number = number;
  point.frame = m.current;
  point.pc = m.at_pc;
  point.result = m.result_register;
  point.type = c.site.result.is_scalar() ? c.site.result.scalar : SCALAR{};
  point.stack_top = m.stack_top;
  point.depth = m.calls.size();
  point.nesting = m.nesting;
  c.give(0);
}

void jump_back(LIBRARY_CALL& c) {
  MACHINE& m = c.m;
  uint32_t at = c.pointer(0);
  c.need_read(at, 2);
  auto known = m.jumps.find(at);
  if (known == m.jumps.end() || known->second.number != m.memory.load(at, 32))
    fault("longjmp() to where no setjmp() was");
  const JUMP_POINT& to = known->second;
  bool is_alive =
      to.nesting <= m.nesting && frame_of(m, to) == to.frame && to.stack_top <= m.stack_top;
  if (!is_alive) fault("longjmp() into a function that has returned");
  int64_t v = c.integer(1);
  throw PROGRAM_JUMP{to, v ? v : 1};
}

} // namespace icode::run
