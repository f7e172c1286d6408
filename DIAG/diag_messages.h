// A class for each message. Make one with the arguments of its text and report() it:
//   DIAG::optgen_missing_param("--opt_level", "level").report();
#pragma once

#include "DIAG/diag.h"

#include <tuple>

namespace DIAG {

// A coded message holds its arguments; ARGS are the types that its text asks for.
template <int CODE, typename... ARGS> class coded : public DIAGNOSTIC {
  static_assert(diag_argument_count(CODE) == static_cast<int>(sizeof...(ARGS)));

public:
  explicit coded(ARGS... args, const char* file = __builtin_FILE(),
                 unsigned line = __builtin_LINE())
      : DIAGNOSTIC(CODE, file, line), values(args...) {}
  DIAGNOSTIC* alloc() const override { return new coded(*this); }

protected:
  std::string text() const override {
    return std::apply(
        [this](const auto&... value) {
          const char* format = this->get_info().std_msg;
          const int n = snprintf(nullptr, 0, format, plain(value)...);
          std::string out(n < 0 ? 0 : static_cast<size_t>(n), 0);
          snprintf(out.data(), out.size() + 1, format, plain(value)...);
          return out;
        },
        values);
  }

private:
  static const char* plain(const std::string& s) { return s.c_str(); }
  static unsigned plain(unsigned n) { return n; }
  std::tuple<ARGS...> values;
};

using text_arg = std::string;

class max_errors : public coded<DIAG_MAX_ERRORS, unsigned> {
  using coded::coded;
};

using null_pointer = coded<6000, text_arg>;
using cannot_open_because = coded<6001, text_arg, text_arg>;
using option_conflict = coded<6002, text_arg, text_arg>;
using invalid_parameter = coded<6003, text_arg, text_arg>;
using cannot_open = coded<6004, text_arg>;
using not_an_archive = coded<6005, text_arg>;
using invalid_option = coded<6006, text_arg>;
using non_null_pointer = coded<6007, text_arg>;
using optgen_invalid_option = coded<24000>;
using optgen_out_of_memory = coded<24001>;
using optgen_conflict = coded<24002, text_arg, text_arg>;
using optgen_override = coded<24003, text_arg, text_arg>;
using optgen_clears = coded<24004, text_arg, text_arg>;
using optgen_bad_parm_type = coded<24005>;
using optgen_clear_persistent = coded<24006, text_arg>;
using optgen_unhandled_clause_in_setarg = coded<24007, unsigned>;
using optgen_unhandled_handler = coded<24008, unsigned>;
using optgen_list_handler = coded<24009, unsigned>;
using optgen_missing_param = coded<24010, text_arg, text_arg>;
using optgen_out_of_range = coded<24011, text_arg, text_arg>;
using optgen_not_non_negative = coded<24012, text_arg, text_arg>;
using optgen_not_in_range = coded<24013, text_arg, text_arg, unsigned, unsigned>;
using optgen_corruption = coded<24014>;
using optgen_not_one_of = coded<24015, text_arg, text_arg>;
using optgen_deprecated_case = coded<24016, text_arg, text_arg>;
using optgen_not_valid_ignored = coded<24017, text_arg, text_arg, text_arg>;
using optgen_not_valid = coded<24018, text_arg, text_arg, text_arg>;
using optgen_garbage = coded<24019, text_arg>;
using optgen_exact_only_previous = coded<24020, text_arg, text_arg>;
using optgen_exact_only_this = coded<24021, text_arg, text_arg>;
using optgen_exact_args_incompatible = coded<24022, text_arg, text_arg, text_arg>;
using optgen_merge_conflict = coded<24023, text_arg, text_arg, text_arg>;
using optgen_float_needs_eabi = coded<24024>;
using optgen_no_unaligned_access = coded<24025>;
using optgen_not_power_of_2 = coded<24026, text_arg>;
using optgen_output_file_alias = coded<24027, text_arg, text_arg, text_arg, text_arg>;
using optgen_for_the_shell = coded<24028, text_arg>;
using optgen_unhandled_clause_in_add_hist = coded<24029, unsigned>;
using optgen_missing_fileopt = coded<24030, text_arg>;
using optgen_missing_tool_type = coded<24031, text_arg>;
using optgen_small_model = coded<24032>;
using optgen_bad_silicon = coded<24033, text_arg>;
using optgen_legacy_silicon = coded<24034, text_arg>;
using optgen_retired = coded<24035, text_arg>;
using optgen_nested_group = coded<24036>;
using optgen_unmatched_group = coded<24037>;

// A message whose text its maker has finished; printed in parentheses.
template <int CODE> class free_text : public DIAGNOSTIC {
public:
  // `number` is shown in place of the class's own code, unless it is 0.
  explicit free_text(std::string finished, unsigned number = 0, const char* file = __builtin_FILE(),
                     unsigned line = __builtin_LINE())
      : DIAGNOSTIC(CODE, file, line), message(std::move(finished)) {
    if (number) displayed_code = static_cast<int>(number);
  }
  DIAGNOSTIC* alloc() const override { return new free_text(*this); }
  void report() override {
    print_header();
    print("(%s)", message.c_str());
    dump_if_debugging();
    flush();
  }

protected:
  std::string text() const override { return message; }

private:
  std::string message;
};

using gdebug = free_text<DIAG_GDEBUG>;
using gremark = free_text<DIAG_GREMARK>;
using gadvice = free_text<DIAG_GADVICE>;
using gwarning = free_text<DIAG_GWARNING>;
using gerror = free_text<DIAG_GERROR>;
using gapperror = free_text<DIAG_GAPPERROR>;
using gfatal = free_text<DIAG_GFATAL>;
using gdie = free_text<DIAG_GDIE>;

} // namespace DIAG
