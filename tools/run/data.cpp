#include "tools/run/data.h"
#include "tools/run/library.h"

#include <algorithm>
#include <bit>

namespace icode::run {

namespace {

// In units: even addresses at least, and what the symbol asks for within reason.
uint64_t alignment_of(const SYMBOL& s) {
  constexpr uint64_t MOST = 4096;
  uint64_t wanted = std::min(std::max<uint64_t>(symbol_align(s) / 16, 2), MOST);
  return std::bit_ceil(wanted);
}

bool has_linkage(const SYMBOL& s) {
  return s.storage == ST_GLOBAL || s.storage == ST_EXTERN;
}

FUNCTION_CODE* add_function(PROGRAM& p, const std::string& name) {
  FUNCTION_CODE& f = p.functions.emplace_back();
  f.name = name;
  f.address = FUNCTION_BEGIN + uint32_t(p.by_address.size());
  p.by_address.push_back(&f);
  return &f;
}

// A constant of an initialiser.
struct CONSTANT {
  uint64_t value = 0;
  SCALAR type;
};

struct INITIALISER {
  static constexpr int MAX_DEPTH = 1000; // of an expression

  PROGRAM& p;
  uint64_t at = 0, end = 0; // of what is left of the object, as addresses
  std::string error = {};

  const NODE& node(uint32_t n) const { return p.unit.nodes[n]; }
  bool fail(const std::string& text) {
    if (error.empty()) error = text;
    return false;
  }

  // The address of an lvalue of static storage.
  bool address(uint32_t n, uint64_t& out, int depth) {
    if (++depth > MAX_DEPTH) return fail("an expression nested too deeply");
    const NODE& x = node(n);
    switch (x.op) {
    case NAME:
      if (x.a != 0 || x.b >= p.global_address.size())
        return fail("the address of a symbol that is not global");
      out = p.global_address[x.b];
      return true;
    case SCON: out = string_address(p, p.unit.strings[x.text]); return true;
    case STDOT:
    case STREF: {
      const TYPE_RECORD* member = field_member(p.unit, node(x.right));
      if (!member || member->offset % 16) return fail("the address of an unknown member");
      CONSTANT base;
      bool ok = x.op == STDOT ? address(x.left, out, depth) : constant(x.left, base, depth);
      out = (x.op == STDOT ? out : base.value) + uint64_t(member->offset / 16);
      return ok;
    }
    case UMULT: {
      CONSTANT base;
      if (!constant(x.left, base, depth)) return false;
      out = base.value;
      return true;
    }
    default: return fail(std::string("the address of ") + op_name(x.op));
    }
  }

  bool constant(uint32_t n, CONSTANT& out, int depth) {
    if (++depth > MAX_DEPTH) return fail("an expression nested too deeply");
    const NODE& x = node(n);
    const SHAPE& shape = p.shapes[x.type];
    out.type = shape.is_scalar() ? shape.scalar : POINTER;
    CONSTANT l, r;
    switch (x.op) {
    case ICON: out.value = convert(x.a, INT64, out.type); return true;
    case LCON:
      out.value = convert(parse_integer(p.unit.strings[x.text]), INT64, out.type);
      return true;
    case FCON: {
      SCALAR type = out.type.cls == C_FLOAT ? out.type : DOUBLE;
      if (!parse_float(p.unit.strings[x.text], type, out.value))
        return fail("an FCON that is no number");
      out.value = convert(out.value, type, out.type);
      return true;
    }
    case SCON:
    case UAND:
      if (!address(x.op == UAND ? x.left : n, l.value, depth)) return false;
      out.value = convert(l.value, POINTER, out.type);
      return true;
    case DDNODE:
    case EPVAL: return constant(x.left, out, depth); // they say nothing of the value
    case PCONV:
    case SCONV:
    case ACONV:
      if (!constant(x.left, l, depth)) return false;
      out.value = convert(l.value, l.type, out.type);
      return true;
    case PLUS:
    case MINUS:
      if (!constant(x.left, l, depth) || !constant(x.right, r, depth)) return false;
      if (out.type.cls != C_INT || l.type.cls != C_INT || r.type.cls != C_INT)
        return fail("floating arithmetic");
      out.value = wrap(x.op == PLUS ? l.value + r.value : l.value - r.value, out.type);
      return true;
    case NAME: // a function, or an array standing for its address
      if (shape.cls != C_FUNC && shape.cls != C_MEM) return fail("the value of a variable");
      return address(n, out.value, depth);
    default: return fail(std::string("the operator ") + op_name(x.op));
    }
  }

  bool room(uint64_t units) {
    return units <= end - at || fail("more than the object has room for");
  }

  bool place(uint32_t n) {
    for (; node(n).op == SKIP; n = node(n).left) {
      if (!room(node(n).a)) return false;
      at += node(n).a;
    }
    const NODE& x = node(n);
    const SHAPE& shape = p.shapes[x.type];
    if (x.op == NOP || x.op == ENDINIT) return true;
    if (x.op == COMPLEX) return place_scalar(x.left) && place_scalar(x.right);
    if (x.op == SCON && shape.in_memory()) {
      if (!room(shape.units)) return false;
      const std::string& text = p.unit.strings[x.text];
      for (uint64_t i = 0; i < shape.units && i < text.size(); i++)
        p.memory.units[at + i] = uint8_t(text[i]);
      at += shape.units;
      return true;
    }
    return place_scalar(n);
  }

  bool place_scalar(uint32_t n) {
    const SHAPE& shape = p.shapes[node(n).type];
    CONSTANT c;
    if (!shape.is_scalar()) return fail("a value of no scalar type");
    if (!room(shape.scalar.bits / 16) || !constant(n, c, 0)) return false;
    p.memory.store(uint32_t(at), shape.scalar.bits, c.value);
    at += shape.scalar.bits / 16;
    return true;
  }
};

} // namespace

const TYPE_RECORD* field_member(const UNIT& unit, const NODE& field) {
  return field.op == FIELD ? find_member(unit, uint32_t(field.b), field.a) : nullptr;
}

uint32_t string_address(PROGRAM& p, const std::string& text) {
  auto [it, is_new] = p.strings.try_emplace(text, 0);
  if (!is_new) return it->second;
  uint32_t at = p.memory.place_data(text.size() + 1, 1);
  if (at) {
    for (size_t i = 0; i < text.size(); i++)
      p.memory.units[at + i] = uint8_t(text[i]);
    p.memory.permit(at, text.size() + 1, P_READ);
  }
  return it->second = at;
}

FUNCTION_CODE* external_function(PROGRAM& p, const std::string& name) {
  auto it = p.external.find(name);
  if (it != p.external.end() && p.global_function[it->second]) return p.global_function[it->second];
  FUNCTION_CODE* f = add_function(p, name);
  f->library = find_library_function(name);
  return f;
}

bool build_data(PROGRAM& p, std::string& error) {
  const UNIT& unit = p.unit;
  size_t count = unit.globals.size();
  p.global_address.assign(count, 0);
  p.global_function.assign(count, nullptr);
  std::vector<const INIT*> inits(count, nullptr);
  for (const INIT& init : unit.inits)
    if (init.global < count) inits[init.global] = &init;
  std::vector<bool> has_body(count, false);
  for (const FUNCTION& f : unit.functions)
    if (!f.is_ir && f.global < count) has_body[f.global] = true;

  // Of several records of one name, the one with a body or an initialiser is the definition, and
  // otherwise the largest.
  auto weight = [&](uint32_t i) {
    bool defines = has_body[i] || inits[i];
    return std::pair(defines, symbol_bits(unit.globals[i]));
  };
  for (uint32_t i = 0; i < count; i++) {
    if (!has_linkage(unit.globals[i])) continue;
    auto [it, is_new] = p.external.try_emplace(unit.globals[i].name, i);
    if (!is_new && weight(i) > weight(it->second)) it->second = i;
  }

  auto definition = [&](uint32_t i) {
    return has_linkage(unit.globals[i]) ? p.external.at(unit.globals[i].name) : i;
  };
  for (uint32_t i = 0; i < count; i++) {
    const SYMBOL& s = unit.globals[i];
    if (definition(i) != i) continue;
    const SHAPE& shape = p.shapes[s.type];
    if (shape.cls == C_FUNC || has_body[i]) {
      FUNCTION_CODE* f = add_function(p, s.name);
      if (!has_body[i]) f->library = find_library_function(s.name);
      p.global_function[i] = f;
      p.global_address[i] = f->address;
      continue;
    }
    uint64_t size = std::max((symbol_bits(s) + 15) / 16, shape.units);
    p.global_address[i] = p.memory.place_data(size, alignment_of(s));
    if (!p.global_address[i]) {
      error = s.name + " is larger than the memory";
      return false;
    }
    if (int stream = standard_stream(s.name); stream && !inits[i] && size >= 2)
      p.memory.store(p.global_address[i], 32, uint64_t(stream));
  }
  for (uint32_t i = 0; i < count; i++) {
    p.global_function[i] = p.global_function[definition(i)];
    p.global_address[i] = p.global_address[definition(i)];
  }

  constexpr int IS_CONST = 0x1, IS_READ_ONLY = 0x80;
  for (uint32_t i = 0; i < count; i++) {
    const SYMBOL& s = unit.globals[i];
    if (p.global_function[i] || definition(i) != i) continue;
    uint64_t size = std::max((symbol_bits(s) + 15) / 16, p.shapes[s.type].units);
    if (inits[i]) {
      INITIALISER init{p, p.global_address[i], p.global_address[i] + size};
      for (uint32_t root : inits[i]->roots)
        if (!init.place(root)) {
          error = "the initialiser of " + s.name + " has " + init.error;
          return false;
        }
    }
    // A constant that no initialiser fills may be filled when the program starts.
    if ((s.qual & IS_READ_ONLY) || ((s.qual & IS_CONST) && inits[i]))
      p.memory.permit(p.global_address[i], size, P_READ);
  }
  return true;
}

uint32_t signature_of(PROGRAM& p, const std::vector<SHAPE>& types) {
  std::string key;
  for (const SHAPE& s : types) {
    key += char('a' + s.cls);
    if (s.is_scalar()) {
      key += char('0' + s.scalar.bits / 16);
      key += s.scalar.is_boolean ? 'b' : s.scalar.is_signed ? 's' : 'u';
    } else {
      key += std::to_string(s.units);
    }
  }
  return p.signatures.try_emplace(key, uint32_t(p.signatures.size())).first->second;
}

uint64_t argument_offset(uint64_t at, const SHAPE& type) {
  bool is_wide = type.is_scalar() ? type.scalar.bits >= 32 : type.wide_aligned;
  return is_wide ? (at + 1) & ~uint64_t(1) : at;
}

uint64_t argument_end(uint64_t offset, const SHAPE& type) {
  return offset + (type.is_scalar() ? type.scalar.bits / 16 : type.units);
}

} // namespace icode::run
