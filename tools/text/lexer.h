// Tokens of the text form of icode.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace icode {

enum TOKEN : uint8_t {
  T_END,
  T_IDENT,  // letters, digits, _ and $, with single dots inside
  T_NUMBER, // begins with a digit, or a minus and a digit
  T_STRING, // "...", the text with its escapes resolved
  T_QUOTED, // '...', likewise; a name
  T_PUNCT,  // any other single character
};

struct LEXEME {
  TOKEN kind = T_END;
  std::string text;
  int line = 1, column = 1; // from 1; columns count bytes
  bool starts_line = false; // the first token of its line
  bool is(char c) const { return kind == T_PUNCT && text[0] == c; }
  bool is_word(std::string_view word) const { return kind == T_IDENT && text == word; }
};

// Thrown at an error in the text; nothing outside the parser sees it.
struct TEXT_ERROR {
  int line, column;
  std::string message;
};

// Splits a text that it doesn't own; keeps one token of look-ahead, the current one. Comments go
// from '#' to the end of the line.
class LEXER {
public:
  explicit LEXER(std::string_view text) : text_(text) { next(); }

  const LEXEME& current() const { return token_; }
  void next();
  // Takes the current token and what follows without a blank as the name of a type. Those have
  // characters of their own: letters, digits and _ $ . * & [ ] < >; or a lone '-'. Empty if the
  // current token can't begin one.
  std::string take_type_name();
  [[noreturn]] void fail(const std::string& message) const; // at the current token

private:
  void quoted(char quote);
  [[noreturn]] void fail_here(const std::string& message) const;

  std::string_view text_;
  size_t pos_ = 0;   // behind the current token
  size_t start_ = 0; // of the current token
  size_t line_begin_ = 0;
  int line_ = 1;
  int last_line_ = 0; // of the token before
  LEXEME token_;
};

// `text` with C escapes between two `quote` characters.
std::string quote_text(std::string_view text, char quote);
// Whether the lexer takes `text` as one identifier.
bool is_identifier(std::string_view text);
bool is_type_name_char(char c);

} // namespace icode
