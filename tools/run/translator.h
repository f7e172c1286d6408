// The translator's state and its parts: run_translate.cpp has functions and statements,
// run_translate_values.cpp scalar expressions, run_translate_places.cpp lvalues and memory,
// run_translate_lanes.cpp aggregates, vectors and complex numbers, run_translate_calls.cpp calls.
#pragma once

#include "tools/run/data.h"

namespace icode::run {

// Thrown for a tree that has no meaning; its statement faults when it is reached.
struct UNSUPPORTED {
  std::string text;
};

constexpr uint32_t NO_REG = UINT32_MAX;

// A scalar value in canonical form: a register or a constant.
struct SCALAR_VALUE {
  bool is_imm = true;
  uint32_t reg = 0;
  uint64_t imm = 0;
  static SCALAR_VALUE of_reg(uint32_t r) { return {false, r, 0}; }
  static SCALAR_VALUE of_imm(uint64_t v) { return {true, 0, v}; }
};

// Where an lvalue is.
struct PLACE {
  enum KIND : uint8_t {
    REG,   // register `reg`, which holds values of type `held`
    FIXED, // address `offset`
    FRAME, // the frame's memory at `offset`
    BASE,  // the address in register `reg`, plus `offset`
  };
  KIND kind = FIXED;
  uint32_t reg = 0;
  uint32_t index = NO_REG; // register whose value is added to the address
  uint32_t offset = 0;     // units, modulo 2^32
  SCALAR held;
  // Of a bit-field: first bit in the unit at the place (0 to 15), width (0 if it is none).
  uint8_t shift = 0, width = 0;
  SCALAR member; // its member's type
};

// Facts of a node, by its index in Unit::nodes.
enum NODE_FACT : uint8_t {
  WRITES_REG = 1, // it may assign a local that lives in a register
  HAS_EFFECTS = 2,
};

struct HOME {
  bool in_memory = false;
  bool is_static = false;
  PLACE place;
};

struct FUNCTION_TRANSLATOR {
  PROGRAM& p;
  const UNIT& unit;
  const FUNCTION& function;
  FUNCTION_CODE& out;
  const std::vector<uint8_t>& facts;

  std::vector<HOME> homes = {};                            // by local
  std::unordered_map<uint64_t, PLACE> vregs = {};          // by number
  std::unordered_map<uint32_t, uint32_t> user_labels = {}; // number to label
  std::vector<uint32_t> label_at = {};                     // label to code position
  uint32_t top = 0;                                        // next free temporary
  uint32_t max_top = 0;
  uint64_t pending_steps = 0; // of nodes whose steps no instruction has taken yet
  uint32_t region = NONE;
  size_t first_switch = 0; // in p.switches

  // --- Functions and statements (run_translate.cpp) ---
  void translate();
  void find_homes();
  void note_use(uint32_t node, bool is_address);
  void statement(uint32_t root);
  void statement_body(uint32_t root);
  void switch_statement(const NODE& n);
  void count(uint32_t node); // with a profile: how often control comes by here
  void jump_counted(uint32_t label_node);
  uint32_t user_label(uint32_t node);
  uint32_t new_label();
  void bind(uint32_t label) { label_at[label] = uint32_t(out.code.size()); }
  void enter_region(uint32_t root, bool is_statement, uint32_t parent = NONE);
  bool is_register(uint32_t n) const; // a place that is no memory
  void flush_steps();
  uint16_t take_steps();
  [[noreturn]] void fail(const std::string& text) const { throw UNSUPPORTED{text}; }
  [[noreturn]] void fail(const NODE& n, const char* text) const {
    throw UNSUPPORTED{std::string(op_name(n.op)) + " " + text};
  }

  // --- Emission ---
  // A profile value says nothing of what it wraps.
  const NODE& node(uint32_t n) const {
    while (unit.nodes[n].op == EPVAL)
      n = unit.nodes[n].left;
    return unit.nodes[n];
  }
  const SHAPE& shape(uint32_t n) const { return p.shapes[unit.nodes[n].type]; }
  SCALAR scalar(uint32_t n) const; // fails for a node of another type
  void emit(unsigned op, uint32_t a = 0, uint32_t b = 0, uint32_t c = 0, unsigned aux = 0);
  uint32_t alloc();
  // The register of a result: `want`, or a temporary at `save`, to which the temporaries are cut.
  uint32_t dest(uint32_t want, uint32_t save);
  uint32_t reg(SCALAR_VALUE v);                        // in a register
  SCALAR_VALUE move_to(uint32_t want, SCALAR_VALUE v); // in `want`, unless that is NO_REG
  void trap(const std::string& message);
  void jump(uint32_t label) { emit(I_JUMP, 0, 0, label, take_steps()); }

  // --- Scalar expressions (run_translate_values.cpp) ---
  // The value of a node of scalar type. Where `want` is a register it is put there, by an
  // instruction behind all that read the old contents.
  SCALAR_VALUE value(uint32_t n, uint32_t want = NO_REG);
  SCALAR_VALUE value_as(uint32_t n, SCALAR type, uint32_t want = NO_REG);
  SCALAR_VALUE snapshot(SCALAR_VALUE v,
                        bool wanted); // a copy in a temporary, if it is a register of a local
  void effects(uint32_t n);           // any node, for its effects only
  // Branches to `label` if the truth of the node is `when`, else goes on.
  void branch_if(uint32_t n, bool when, uint32_t label);
  SCALAR_VALUE converted(SCALAR_VALUE v, SCALAR from, SCALAR to, uint32_t want = NO_REG);
  SCALAR_VALUE arithmetic(int op, SCALAR type, SCALAR_VALUE l, SCALAR_VALUE r, uint32_t want,
                          uint32_t save);
  SCALAR_VALUE unary(int op, SCALAR type, SCALAR_VALUE v, uint32_t want, uint32_t save);
  // A comparison of any kind; gives 0 or 1.
  SCALAR_VALUE comparison(int op, SCALAR left, SCALAR right, SCALAR_VALUE l, SCALAR_VALUE r,
                          uint32_t want, uint32_t save);
  void branch_compare(int op, SCALAR left, SCALAR right, SCALAR_VALUE l, SCALAR_VALUE r, bool when,
                      uint32_t label);
  SCALAR_VALUE constant(const NODE& n, SCALAR type);
  SCALAR_VALUE binary(uint32_t n, uint32_t want);
  SCALAR_VALUE truth(uint32_t n, uint32_t want);
  SCALAR_VALUE choice(uint32_t n, uint32_t want);
  SCALAR_VALUE assignment(uint32_t n, uint32_t want, bool needed);
  unsigned bit_field_width(uint32_t n) const;
  SCALAR_VALUE operation_assignment(uint32_t n, uint32_t want, bool needed);
  SCALAR_VALUE step_assignment(uint32_t n, uint32_t want, bool needed);
  SCALAR_VALUE kept(SCALAR_VALUE value, uint32_t save, uint32_t want);
  SCALAR_VALUE stored_value(const PLACE& to, SCALAR type, SCALAR_VALUE v, uint32_t n,
                            uint32_t want);
  SCALAR_VALUE class_pointer(uint32_t n, uint32_t want);
  SCALAR common_type(SCALAR a, SCALAR b) const;
  void check_assertion(uint32_t n);

  // --- Places and memory (run_translate_places.cpp) ---
  // The place of an lvalue, or of an aggregate, vector or complex value.
  PLACE place(uint32_t n);
  PLACE place_at(uint32_t pointer); // where a pointer's value points
  PLACE home_place(const NODE& name);
  PLACE vreg_place(uint32_t n);
  PLACE member_place(PLACE base, const NODE& field);
  PLACE moved(PLACE at, uint64_t units) const;
  PLACE frame_object(uint64_t units, bool wide_aligned);
  PLACE stable(PLACE at, bool wanted); // with no register of a local in it
  SCALAR_VALUE address(const PLACE& at, uint32_t want = NO_REG);
  SCALAR_VALUE load(const PLACE& from, SCALAR type, uint32_t want, uint32_t save);
  void store(const PLACE& to, SCALAR type, SCALAR_VALUE v);
  void copy(const PLACE& to, const PLACE& from, uint64_t units);
  // How an instruction of a family by mode gets at a place of so many units.
  struct ACCESS {
    MODE mode;
    uint32_t b = 0, c = 0, aux = 0;
  };
  ACCESS access(const PLACE& at, unsigned units, bool writes);

  // --- Aggregates, vectors, complex numbers (run_translate_lanes.cpp) ---
  PLACE object_value(uint32_t n); // of a node that has no place of its own
  PLACE object_assignment(uint32_t n);
  PLACE object_choice(uint32_t n);
  PLACE packed(uint32_t n);
  PLACE field_lanes(uint32_t n);
  SCALAR_VALUE complex_equal(uint32_t n, uint32_t want);
  // Operand of a lane operation: an object with lanes, or one scalar for all of them.
  struct LANE_SOURCE {
    bool is_scalar = false;
    SHAPE shape;
    SCALAR_VALUE value;
    PLACE place;
  };
  LANE_SOURCE lane_source(uint32_t n, bool copied);
  SCALAR lane_type(const LANE_SOURCE& from) const { return from.shape.scalar; }
  SCALAR_VALUE lane(const LANE_SOURCE& from, uint64_t k);
  SCALAR_VALUE lane_as(const LANE_SOURCE& from, uint64_t k, SCALAR type);
  void check_lanes(const SHAPE& type, const LANE_SOURCE& from);
  PLACE converted_lanes(const SHAPE& type, const LANE_SOURCE& from);
  // The lanes of `op` applied to sources; `right` is null for an operator with one operand.
  PLACE lane_operation(int op, const SHAPE& type, const LANE_SOURCE& left,
                       const LANE_SOURCE* right);
  PLACE complex_operation(int op, const SHAPE& type, const LANE_SOURCE& left,
                          const LANE_SOURCE* right);
  PLACE bits_as_object(uint32_t n);

  // --- Calls (run_translate_calls.cpp) ---
  // Result: a scalar in a register, or the place of an aggregate; neither for void.
  struct RESULT {
    SCALAR_VALUE value;
    PLACE place;
  };
  RESULT call(uint32_t n, uint32_t want);
  RESULT built_in(uint32_t n, uint32_t want);
  SCALAR_VALUE move_units(uint32_t n);                   // a MEMCPY; gives the destination
  std::vector<uint32_t> list_items(uint32_t list) const; // of a left-leaning COMMA list
};

// The FEQ family's member for a comparison that may name an integer operator.
bool is_comparison(int op);

} // namespace icode::run
