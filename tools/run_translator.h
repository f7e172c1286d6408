// The translator's state and its parts: run_translate.cpp has functions and statements,
// run_translate_values.cpp scalar expressions, run_translate_places.cpp lvalues and memory,
// run_translate_lanes.cpp aggregates, vectors and complex numbers, run_translate_calls.cpp calls.
#pragma once

#include "tools/run_data.h"

namespace icode::run {

// Thrown for a tree that has no meaning; its statement faults when it is reached.
struct Unsupported {
  std::string text;
};

constexpr uint32_t NO_REG = UINT32_MAX;

// A scalar value in canonical form: a register or a constant.
struct Operand {
  bool is_imm = true;
  uint32_t reg = 0;
  uint64_t imm = 0;
  static Operand of_reg(uint32_t r) { return {false, r, 0}; }
  static Operand of_imm(uint64_t v) { return {true, 0, v}; }
};

// Where an lvalue is.
struct Place {
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
  Scalar held;
  // Of a bit-field: first bit in the unit at the place (0 to 15), width (0 if it is none).
  uint8_t shift = 0, width = 0;
  Scalar member; // its member's type
};

// Facts of a node, by its index in Unit::nodes.
enum NODE_FACT : uint8_t {
  WRITES_REG = 1, // it may assign a local that lives in a register
  HAS_EFFECTS = 2,
};

struct Home {
  bool in_memory = false;
  bool is_static = false;
  Place place;
};

struct FunctionTranslator {
  Program& p;
  const Unit& unit;
  const Function& function;
  FunctionCode& out;
  const std::vector<uint8_t>& facts;

  std::vector<Home> homes = {};                            // by local
  std::unordered_map<uint64_t, Place> vregs = {};          // by number
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
  void switch_statement(const Node& n);
  uint32_t user_label(uint32_t node);
  uint32_t new_label();
  void bind(uint32_t label) { label_at[label] = uint32_t(out.code.size()); }
  void enter_region(uint32_t root, bool is_statement, uint32_t parent = NONE);
  bool is_register(uint32_t n) const; // a place that is no memory
  void flush_steps();
  uint16_t take_steps();
  [[noreturn]] void fail(const std::string& text) const { throw Unsupported{text}; }
  [[noreturn]] void fail(const Node& n, const char* text) const {
    throw Unsupported{std::string(op_name(n.op)) + " " + text};
  }

  // --- Emission ---
  const Node& node(uint32_t n) const { return unit.nodes[n]; }
  const Shape& shape(uint32_t n) const { return p.shapes[unit.nodes[n].type]; }
  Scalar scalar(uint32_t n) const; // fails for a node of another type
  void emit(unsigned op, uint32_t a = 0, uint32_t b = 0, uint32_t c = 0, unsigned aux = 0);
  uint32_t alloc();
  // The register of a result: `want`, or a temporary at `save`, to which the temporaries are cut.
  uint32_t dest(uint32_t want, uint32_t save);
  uint32_t reg(Operand v);                   // in a register
  Operand move_to(uint32_t want, Operand v); // in `want`, unless that is NO_REG
  void trap(const std::string& message);
  void jump(uint32_t label) { emit(I_JUMP, 0, 0, label, take_steps()); }

  // --- Scalar expressions (run_translate_values.cpp) ---
  // The value of a node of scalar type. Where `want` is a register it is put there, by an
  // instruction behind all that read the old contents.
  Operand value(uint32_t n, uint32_t want = NO_REG);
  Operand value_as(uint32_t n, Scalar type, uint32_t want = NO_REG);
  Operand snapshot(Operand v, bool wanted); // a copy in a temporary, if it is a register of a local
  void effects(uint32_t n);                 // any node, for its effects only
  // Branches to `label` if the truth of the node is `when`, else goes on.
  void branch_if(uint32_t n, bool when, uint32_t label);
  Operand converted(Operand v, Scalar from, Scalar to, uint32_t want = NO_REG);
  Operand arithmetic(int op, Scalar type, Operand l, Operand r, uint32_t want, uint32_t save);
  Operand unary(int op, Scalar type, Operand v, uint32_t want, uint32_t save);
  // A comparison of any kind; gives 0 or 1.
  Operand comparison(int op, Scalar left, Scalar right, Operand l, Operand r, uint32_t want,
                     uint32_t save);
  void branch_compare(int op, Scalar left, Scalar right, Operand l, Operand r, bool when,
                      uint32_t label);
  Operand constant(const Node& n, Scalar type);
  Operand binary(uint32_t n, uint32_t want);
  Operand truth(uint32_t n, uint32_t want);
  Operand choice(uint32_t n, uint32_t want);
  Operand assignment(uint32_t n, uint32_t want, bool needed);
  unsigned bit_field_width(uint32_t n) const;
  Operand operation_assignment(uint32_t n, uint32_t want, bool needed);
  Operand step_assignment(uint32_t n, uint32_t want, bool needed);
  Operand kept(Operand value, uint32_t save, uint32_t want);
  Operand stored_value(const Place& to, Scalar type, Operand v, uint32_t n, uint32_t want);
  Operand class_pointer(uint32_t n, uint32_t want);
  Scalar common_type(Scalar a, Scalar b) const;
  void check_assertion(uint32_t n);

  // --- Places and memory (run_translate_places.cpp) ---
  // The place of an lvalue, or of an aggregate, vector or complex value.
  Place place(uint32_t n);
  Place place_at(uint32_t pointer); // where a pointer's value points
  Place home_place(const Node& name);
  Place vreg_place(uint32_t n);
  Place member_place(Place base, const Node& field);
  Place moved(Place at, uint64_t units) const;
  Place frame_object(uint64_t units, bool wide_aligned);
  Place stable(Place at, bool wanted); // with no register of a local in it
  Operand address(const Place& at, uint32_t want = NO_REG);
  Operand load(const Place& from, Scalar type, uint32_t want, uint32_t save);
  void store(const Place& to, Scalar type, Operand v);
  void copy(const Place& to, const Place& from, uint64_t units);
  // How an instruction of a family by mode gets at a place of so many units.
  struct Access {
    MODE mode;
    uint32_t b = 0, c = 0, aux = 0;
  };
  Access access(const Place& at, unsigned units, bool writes);

  // --- Aggregates, vectors, complex numbers (run_translate_lanes.cpp) ---
  Place object_value(uint32_t n); // of a node that has no place of its own
  Place object_assignment(uint32_t n);
  Place object_choice(uint32_t n);
  Place packed(uint32_t n);
  Place field_lanes(uint32_t n);
  Operand complex_equal(uint32_t n, uint32_t want);
  // Operand of a lane operation: an object with lanes, or one scalar for all of them.
  struct LaneSource {
    bool is_scalar = false;
    Shape shape;
    Operand value;
    Place place;
  };
  LaneSource lane_source(uint32_t n, bool copied);
  Scalar lane_type(const LaneSource& from) const { return from.shape.scalar; }
  Operand lane(const LaneSource& from, uint64_t k);
  Operand lane_as(const LaneSource& from, uint64_t k, Scalar type);
  void check_lanes(const Shape& type, const LaneSource& from);
  Place converted_lanes(const Shape& type, const LaneSource& from);
  // The lanes of `op` applied to sources; `right` is null for an operator with one operand.
  Place lane_operation(int op, const Shape& type, const LaneSource& left, const LaneSource* right);
  Place complex_operation(int op, const Shape& type, const LaneSource& left,
                          const LaneSource* right);
  Place bits_as_object(uint32_t n);

  // --- Calls (run_translate_calls.cpp) ---
  // Result: a scalar in a register, or the place of an aggregate; neither for void.
  struct Result {
    Operand value;
    Place place;
  };
  Result call(uint32_t n, uint32_t want);
  Result built_in(uint32_t n, uint32_t want);
  Operand move_units(uint32_t n);                        // a MEMCPY; gives the destination
  std::vector<uint32_t> list_items(uint32_t list) const; // of a left-leaning COMMA list
};

// The FEQ family's member for a comparison that may name an integer operator.
int float_comparison(int op);
bool is_comparison(int op);

} // namespace icode::run
