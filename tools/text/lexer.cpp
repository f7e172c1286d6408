#include "tools/text/lexer.h"

#include <cctype>

namespace icode {

namespace {

bool is_letter(char c) {
  return isalpha(uint8_t(c)) || c == '_' || c == '$';
}
bool is_word_char(char c) {
  return is_letter(c) || isdigit(uint8_t(c));
}

// The end of the identifier at `pos`; `pos` itself if there is none.
size_t identifier_end(std::string_view text, size_t pos) {
  if (pos >= text.size() || !is_letter(text[pos])) return pos;
  while (pos < text.size() &&
         (is_word_char(text[pos]) ||
          (text[pos] == '.' && pos + 1 < text.size() && is_word_char(text[pos + 1]))))
    ++pos;
  return pos;
}

size_t number_end(std::string_view text, size_t pos) {
  bool hex = text.substr(pos + (text[pos] == '-')).substr(0, 2) == "0x";
  for (++pos; pos < text.size(); pos++) {
    char c = text[pos], before = char(tolower(text[pos - 1]));
    bool exponent_sign = (c == '+' || c == '-') && before == (hex ? 'p' : 'e');
    if (!isalnum(uint8_t(c)) && c != '.' && !exponent_sign) break;
  }
  return pos;
}

int hex_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

constexpr std::string_view ESCAPE_LETTERS = "ntrabfv0\\\"'";
constexpr std::string_view ESCAPE_VALUES{"\n\t\r\a\b\f\v\0\\\"'", 11};

} // namespace

bool is_type_name_char(char c) {
  return is_word_char(c) || std::string_view(".*&[]<>").find(c) != std::string_view::npos;
}

bool is_identifier(std::string_view text) {
  return !text.empty() && identifier_end(text, 0) == text.size();
}

std::string quote_text(std::string_view text, char quote) {
  std::string out(1, quote);
  for (char c : text) {
    size_t escape = ESCAPE_VALUES.find(c);
    if (escape != std::string_view::npos && (c != '"' || quote == '"') &&
        (c != '\'' || quote == '\'')) {
      out += '\\';
      out += ESCAPE_LETTERS[escape];
    } else if (uint8_t(c) < 0x20 || uint8_t(c) >= 0x7f) {
      out += "\\x";
      out += "0123456789abcdef"[uint8_t(c) >> 4];
      out += "0123456789abcdef"[uint8_t(c) & 15];
    } else {
      out += c;
    }
  }
  return out + quote;
}

void LEXER::fail(const std::string& message) const {
  throw TEXT_ERROR{token_.line, token_.column, message};
}

void LEXER::fail_here(const std::string& message) const {
  throw TEXT_ERROR{line_, int(pos_ - line_begin_) + 1, message};
}

void LEXER::next() {
  last_line_ = token_.kind == T_END && pos_ == 0 ? 0 : line_;
  for (; pos_ < text_.size(); pos_++) {
    if (text_[pos_] == '\n') {
      ++line_;
      line_begin_ = pos_ + 1;
    } else if (text_[pos_] == '#') {
      while (pos_ + 1 < text_.size() && text_[pos_ + 1] != '\n')
        ++pos_;
    } else if (!isspace(uint8_t(text_[pos_]))) {
      break;
    }
  }
  start_ = pos_;
  token_.line = line_;
  token_.column = int(pos_ - line_begin_) + 1;
  token_.starts_line = line_ != last_line_;
  token_.text.clear();
  if (pos_ >= text_.size()) {
    token_.kind = T_END;
    token_.starts_line = true;
    return;
  }
  char c = text_[pos_];
  size_t end = identifier_end(text_, pos_);
  bool digit_follows = pos_ + 1 < text_.size() && isdigit(uint8_t(text_[pos_ + 1]));
  if (end != pos_) {
    token_.kind = T_IDENT;
  } else if (isdigit(uint8_t(c)) || (c == '-' && digit_follows)) {
    token_.kind = T_NUMBER;
    end = number_end(text_, pos_);
  } else if (c == '"' || c == '\'') {
    token_.kind = c == '"' ? T_STRING : T_QUOTED;
    return quoted(c);
  } else {
    token_.kind = T_PUNCT;
    end = pos_ + 1;
  }
  token_.text = text_.substr(pos_, end - pos_);
  pos_ = end;
}

void LEXER::quoted(char quote) {
  for (++pos_;; pos_++) {
    if (pos_ >= text_.size() || text_[pos_] == '\n')
      fail(std::string("expected a closing ") + quote);
    char c = text_[pos_];
    if (c == quote) break;
    if (c != '\\') {
      token_.text += c;
      continue;
    }
    c = ++pos_ < text_.size() ? text_[pos_] : '\n';
    size_t escape = ESCAPE_LETTERS.find(c);
    if (escape != std::string_view::npos) {
      token_.text += ESCAPE_VALUES[escape];
      continue;
    }
    int high = pos_ + 1 < text_.size() ? hex_digit(text_[pos_ + 1]) : -1;
    int low = pos_ + 2 < text_.size() ? hex_digit(text_[pos_ + 2]) : -1;
    if (c != 'x' || high < 0 || low < 0)
      fail_here(
          "expected one of n t r a b f v 0 \\ \" ' or x and two hexadecimal digits behind \\");
    token_.text += char(high << 4 | low);
    pos_ += 2;
  }
  ++pos_;
}

std::string LEXER::take_type_name() {
  size_t end = start_;
  if (text_.substr(start_, 1) == "-")
    end = start_ + 1;
  else if (start_ < text_.size() && is_letter(text_[start_]))
    while (end < text_.size() && is_type_name_char(text_[end]))
      ++end;
  std::string name(text_.substr(start_, end - start_));
  if (name.empty()) return name;
  pos_ = end;
  next();
  return name;
}

} // namespace icode
