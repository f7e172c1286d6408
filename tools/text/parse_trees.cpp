// Expression trees of the text form. Nesting is held on a stack of its own, so a tree may be as
// deep as memory allows.
#include "tools/text/parser.h"

#include <cstdlib>

namespace icode {

namespace {

// A node whose operands are being read, or a list in braces.
struct TREE_FRAME {
  NODE node;
  int operands = 0; // of the operator; 0 for a list
  int read = 0;
  bool has_type = false, has_payload = false;
  bool is_wrapper = false; // of a dump: the tree is its operand
  LEXEME at;
};

struct TREE_PARSER {
  PARSER& p;
  std::vector<TREE_FRAME> frames = {};
  const SYMBOL* symbol = nullptr; // of the NAME just read

  uint32_t add(const NODE& n) {
    p.unit.nodes.push_back(n);
    return uint32_t(p.unit.nodes.size() - 1);
  }

  void give_type(NODE& n, bool has_type, const LEXEME& at) {
    if (has_type) return;
    if (const char* basic = default_basic_type(n.op)) {
      n.type = p.basic_type(basic);
      return;
    }
    uint32_t target = 0;
    n.type = default_node_type(p.unit, p.names, n, symbol, &target);
    if (n.type != NONE) return;
    if (target == 0) p.fail_at(at, std::string("expected ':' and a type behind ") + op_name(n.op));
    n.type = p.pointer_type(target);
  }

  bool take_type(NODE& n) {
    if (!p.take(':')) return false;
    n.type = p.take_type();
    return true;
  }

  // A bare number: an integer constant, wide if it needs to be, or a floating one.
  uint32_t number() {
    LEXEME at = p.token();
    p.lexer.next();
    NODE n;
    bool is_hex = at.text.find("0x") != std::string::npos;
    if (is_bare_float(at.text)) {
      n.op = FCON;
      n.text = add_string(p.unit, at.text);
      give_type(n, take_type(n), at);
      return add(n);
    }
    if (!is_hex && at.text.find_first_not_of("-0123456789") != std::string::npos)
      p.fail_at(at, "expected a number, found " + at.text);
    bool has_type = take_type(n);
    n.op = ICON;
    bool is_signed = has_type ? is_signed_type(p.unit, n.type) : true;
    if (!is_signed && at.text[0] == '-')
      p.fail_at(at, "expected no sign on a constant of an unsigned type");
    if (is_wide_integer(at.text, is_signed)) {
      n.op = LCON;
      n.text = add_string(p.unit, at.text);
    } else if (is_signed) {
      n.a = uint64_t(p.to_sint(at, "a number"));
    } else {
      n.a = p.to_uint(at, "a number");
    }
    if (n.op == ICON && !fits_icon(is_signed, n.a))
      p.fail_at(at, "expected a number of at most 32 bits in this form");
    give_type(n, has_type, at);
    return add(n);
  }

  // .name, .'name' or .number, then @class and /kind
  uint32_t field() {
    LEXEME at = p.token();
    NODE n;
    n.op = FIELD;
    p.expect('.', "before a member");
    LEXEME name = p.token();
    if (name.kind != T_NUMBER && name.kind != T_IDENT && name.kind != T_QUOTED)
      p.expected("a member's name or number");
    p.lexer.next();
    uint32_t owner = frames.empty() || frames.back().read == 0
                         ? NONE
                         : accessed_class(p.unit, frames.back().node);
    // Behind a statement's last token an '@' begins its position instead.
    if (p.token().is('@') && !position_follows()) {
      p.lexer.next();
      owner = p.take_type();
    }
    if (owner == NONE) p.fail_at(at, "expected '@' and the member's class");
    n.b = owner;
    if (name.kind == T_NUMBER) {
      n.a = p.to_uint(name, "a member number");
    } else {
      const TYPE_INFO* info = resolved_type(p.unit, owner);
      auto it =
          p.member_numbers.find(std::to_string(info ? info->number : owner) + "." + name.text);
      if (it == p.member_numbers.end())
        p.fail_at(name, "expected a member of " + type_name(p.names, owner) + ", which has no " +
                            name.text);
      n.a = it->second;
    }
    if (p.take('/')) n.small = uint8_t(p.take_uint("the member's kind", UINT8_MAX));
    give_type(n, take_type(n), at);
    return add(n);
  }

  bool position_follows() {
    LEXER ahead = p.lexer;
    ahead.next();
    return ahead.current().kind == T_NUMBER || ahead.current().kind == T_STRING;
  }

  uint32_t name() {
    LEXEME at = p.token();
    p.lexer.next();
    NODE n;
    n.op = NAME;
    uint32_t level, index;
    if (!p.find_name(at.text, level, index))
      p.fail_at(at, "expected an operator or a symbol, found the unknown name " + at.text);
    const FUNCTION* function =
        p.state.function == NONE ? nullptr : &p.unit.functions[p.state.function];
    n.a = level;
    n.b = index;
    symbol = find_symbol(p.unit, function, level, index);
    if (p.take('^')) n.a = p.take_uint("a level");
    give_type(n, take_type(n), at);
    return add(n);
  }

  // [ ... ] behind an operator
  void payload(NODE& n) {
    const LEXEME at = p.token();
    auto text = [&] { n.text = add_string(p.unit, p.take_string("a text in double quotes")); };
    switch (n.op) {
    case LABEL:
    case SWITCH:
    case UCALL:
    case EPVAL:
    case SKIP: n.a = p.take_uint("a number"); break;
    case NAME:
    case CALL:
      n.a = p.take_uint("a number");
      p.expect(',', "between the numbers");
      n.b = p.take_uint("a number");
      break;
    case ICON:
      n.a = p.token().text.starts_with('-') ? uint64_t(p.take_sint("a number"))
                                            : p.take_uint("a number");
      break;
    case SCON:
    case FCON:
    case LCON:
    case ICALL:
    case UICALL:
    case MCALL:
    case UMCALL: text(); break;
    case VREG: n.a = uint64_t(p.take_sint("a register")); break;
    case DDNODE:
      n.a = p.take_uint("a number");
      p.expect(',', "between the numbers");
      n.b = p.take_uint("a number");
      p.expect(',', "between the numbers");
      n.small = uint8_t(p.take_uint("flags", UINT8_MAX));
      break;
    default: p.fail_at(at, std::string(op_name(n.op)) + " has nothing in brackets");
    }
    p.expect(']', "behind the operator's numbers");
  }

  // An operator of the optimiser's dumps that files don't have: the one that it becomes in a file.
  // A wrapper becomes nothing; it is read as any operator of one operand.
  int file_operator_of_dump(const std::string& word, bool& is_wrapper) {
    uint32_t level, index;
    if (p.find_name(word, level, index)) return NO_OP;
    if (word == operator_rows[ISP2CHAR].name) return PCONV;
    if (word == operator_rows[VSCONV].name) return SCONV;
    for (int wrapper : {IDENTITY, OUIALIGN, NONALIGN})
      if (word == operator_rows[wrapper].name) is_wrapper = true;
    if (is_wrapper) return PCONV;
    return NO_OP;
  }

  // Reads up to the first operand that is complete, and gives it.
  uint32_t next_leaf() {
    for (;;) {
      LEXEME at = p.token();
      if (p.take('{')) {
        TREE_FRAME list;
        list.at = at;
        frames.push_back(list);
        continue;
      }
      if (at.kind == T_NUMBER) return number();
      if (at.kind == T_QUOTED) return name();
      if (at.is('.')) return field();
      if (at.kind == T_STRING) {
        NODE n;
        n.op = SCON;
        n.text = add_string(p.unit, at.text);
        p.lexer.next();
        give_type(n, take_type(n), at);
        return add(n);
      }
      if (at.kind != T_IDENT) p.expected("an expression");
      int op = op_by_name(at.text);
      bool is_wrapper = false;
      if (op == NO_OP) op = file_operator_of_dump(at.text, is_wrapper);
      if (op == NO_OP) {
        if (!is_reserved_word(at.text) || at.text[0] != 'L') return name();
        p.lexer.next();
        NODE n;
        n.op = LABEL;
        n.a = strtoull(at.text.c_str() + 1, nullptr, 10);
        give_type(n, take_type(n), at);
        return add(n);
      }
      p.lexer.next();
      TREE_FRAME frame;
      frame.at = at;
      frame.node.op = uint8_t(op);
      frame.operands = operand_count(unsigned(op));
      frame.is_wrapper = is_wrapper;
      if (p.take('[')) {
        payload(frame.node);
        frame.has_payload = true;
      } else if (op == NAME || op == FIELD || op == VREG || op == DDNODE || op == SCON ||
                 op == ICON || op == FCON || op == LCON || op == LABEL || op == ICALL ||
                 op == UICALL || op == MCALL || op == UMCALL) {
        p.expected(std::string("'[' behind ") + op_name(unsigned(op)));
      }
      frame.has_type = take_type(frame.node);
      if (frame.operands == 0) {
        symbol = nullptr;
        give_type(frame.node, frame.has_type, at);
        return add(frame.node);
      }
      p.expect('(', "before the operands");
      frames.push_back(std::move(frame));
    }
  }

  uint32_t finish(TREE_FRAME& f) {
    NODE& n = f.node;
    if (f.is_wrapper) return n.left;
    if (n.op == SWITCH && !f.has_payload) n.a = count_cases(p.unit, n.right);
    if (n.op == CALL && !f.has_payload) n.a = count_arguments(p.unit, n.right);
    give_type(n, f.has_type, f.at);
    return add(n);
  }

  uint32_t parse() {
    for (;;) {
      uint32_t done = next_leaf();
      for (;;) {
        if (frames.empty()) return done;
        TREE_FRAME& f = frames.back();
        ++f.read;
        if (f.operands == 0) {
          if (f.read == 1) {
            f.node.left = done;
          } else {
            NODE comma;
            comma.op = COMMA;
            comma.left = f.node.left;
            comma.right = done;
            give_type(comma, false, f.at);
            f.node.left = add(comma);
          }
          if (p.take(',')) break;
          if (!p.token().is('}')) p.expected("',' or '}'");
          if (f.read < 2) p.fail_at(f.at, "expected two items or more between braces");
          p.lexer.next();
          done = f.node.left;
        } else {
          (f.read == 1 ? f.node.left : f.node.right) = done;
          if (f.read < f.operands) {
            p.expect(',', "before the next operand");
            break;
          }
          p.expect(')', "behind the last operand");
          done = finish(f);
        }
        frames.pop_back();
      }
    }
  }
};

} // namespace

uint32_t PARSER::parse_tree() {
  return TREE_PARSER{*this}.parse();
}

} // namespace icode
