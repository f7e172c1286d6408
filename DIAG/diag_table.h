// The coded messages: number, text and severity of each, in the order of their numbers.
#pragma once

#include <cstddef>
#include <cstdint>

enum DIAG_SEVERITY : uint32_t {
  SEV_SUPPRESSED,
  SEV_NO_ERROR,
  SEV_ADVICE,
  SEV_DEBUG,
  SEV_REMARK,
  SEV_WARNING,
  SEV_ERROR,
  SEV_FATAL
};

struct DIAG_INFO {
  int code;
  const char* std_msg; // format of the text
  const char* vrb_msg; // longer format for verbose output, or null
  uint32_t severity;
  bool is_internal;       // a fault of the tool: says where it was raised, and a fatal one aborts
  bool not_discretionary; // its severity can't be lowered
};

// Codes of the free-text classes and of the message that ends a run with too many errors.
constexpr int DIAG_MAX_ERRORS = 30000;
constexpr int DIAG_GDEBUG = 30001;
constexpr int DIAG_GREMARK = 30002;
constexpr int DIAG_GADVICE = 30003;
constexpr int DIAG_GWARNING = 30004;
constexpr int DIAG_GERROR = 30005;
constexpr int DIAG_GAPPERROR = 30006;
constexpr int DIAG_GFATAL = 30007;
constexpr int DIAG_GDIE = 30008;

// The tools of the toolchain share this table, so some rows are for options of other tools.
inline constexpr DIAG_INFO diag_rows[] = {
    {6000, "pointer \"%s\" should not be NULL at this point", nullptr, SEV_FATAL, true, false},
    {6001, "cannot open file \"%s\":  %s", nullptr, SEV_FATAL, false, false},
    {6002, "%s option conflicts with previous option %s", nullptr, SEV_ERROR, false, false},
    {6003, "invalid parameter %s to option %s", nullptr, SEV_ERROR, false, false},
    {6004, "cannot open file \"%s\"", nullptr, SEV_FATAL, false, false},
    {6005, "\"%s\" is not a valid archive file", nullptr, SEV_FATAL, false, false},
    {6006, "invalid option:  %s", nullptr, SEV_FATAL, false, false},
    {6007, "pointer \"%s\" should be NULL at this point", nullptr, SEV_FATAL, true, false},
    {24000, "option is invalid", nullptr, SEV_ERROR, false, false},
    {24001, "out of memory", nullptr, SEV_FATAL, false, false},
    {24002, "option %s conflicts with previous option %s", nullptr, SEV_ERROR, false, false},
    {24003, "option %s overrides preceding option %s", nullptr, SEV_WARNING, false, false},
    {24004, "option %s clears preceding option %s", nullptr, SEV_REMARK, false, false},
    {24005, "option object: bad parm_type [A1]", nullptr, SEV_ERROR, false, false},
    {24006, "Attempt to clear PERSISTENT option %s ignored", nullptr, SEV_WARNING, false, false},
    {24007, "unhandled clause in setarg() [%u]", nullptr, SEV_FATAL, false, false},
    {24008, "unhandled option handler [%u]", nullptr, SEV_FATAL, false, false},
    {24009, "list handler for non-list option [%u]", nullptr, SEV_FATAL, false, false},
    {24010, "option %s is missing its parameter '%s'", nullptr, SEV_ERROR, false, false},
    {24011, "argument to option %s (%s) is out of range", nullptr, SEV_ERROR, false, false},
    {24012, "argument to option %s (%s) is out of range (must be a non-negative_number)", nullptr,
     SEV_ERROR, false, false},
    {24013, "argument to option %s (%s) is out of range (must be a number from %u to %u", nullptr,
     SEV_ERROR, false, false},
    {24014, "corruption in option handler", nullptr, SEV_FATAL, false, false},
    {24015, "bad argument to option %s: should be one of {%s}", nullptr, SEV_ERROR, false, false},
    {24016,
     "Case insensitivity of options has been deprecated; %s must be written as %s in future "
     "releases",
     nullptr, SEV_WARNING, false, false},
    {24017, "Option %s is not valid %s %s (ignored)", nullptr, SEV_WARNING, false, false},
    {24018, "Option %s is not valid %s %s", nullptr, SEV_ERROR, false, false},
    {24019, "garbage following option -%s ignored", nullptr, SEV_WARNING, false, false},
    {24020, "option %s was set in previous files, but not in \"%s\"", nullptr, SEV_ERROR, false,
     false},
    {24021, "option %s is set in \"%s\", but not in previous files", nullptr, SEV_ERROR, false,
     false},
    {24022, "option %s is set in \"%s\", and is incompatible with the previously seen option %s",
     nullptr, SEV_ERROR, false, false},
    {24023, "option %s in file \"%s\" conflicts with previous option %s", nullptr, SEV_ERROR, false,
     false},
    {24024,
     "Cortex-M4 with hardware floating point support requires --abi=eabi. Use "
     "--float_support=none to disable hardware floating piont support.",
     nullptr, SEV_ERROR, false, false},
    {24025, "option --tessera_cache_si_workaround disables unaligned access support", nullptr,
     SEV_WARNING, false, false},
    {24026, "Argument of %s must be a power of 2", nullptr, SEV_ERROR, false, false},
    {24027,
     "Option %s is an alias of linker option --output_file. The specified argument of %s is also "
     "a valid argument for the compiler option --opt_level (%s). If the intent is to specify the "
     "optimization level, the option should be specified before the --run_linker(-z) option. As "
     "specified, the output file of the linker will be %s",
     nullptr, SEV_WARNING, false, false},
    {24028,
     "option %s needs to be passed to the compiler shell instead of directly to the linker.  "
     "Ignoring.",
     nullptr, SEV_ERROR, false, false},
    {24029, "unhandled clause in add_to_history() [%u]", nullptr, SEV_FATAL, false, false},
    {24030, "No known tool \"%s\" when adding file to option list.", nullptr, SEV_ERROR, false,
     false},
    {24031, "Cannot find tool type with command \"%s\". Is the command defined in the tooldef?",
     nullptr, SEV_ERROR, false, false},
    {24032, "Small memory model is no longer supported", nullptr, SEV_WARNING, false, false},
    {24033, "Silicon version %s is not a supported or valid value", nullptr, SEV_ERROR, false,
     false},
    {24034,
     "Silicon version %s is a legacy processor variant and is no longer supported. Please use "
     "Vrx9000 Code Generation Tools v7.4.x or earlier for support of this processor.",
     nullptr, SEV_ERROR, false, false},
    {24035,
     "%s is no longer supported. Please use Vrx9000 Code Generation Tools v7.4.x or earlier for "
     "support of this option.",
     nullptr, SEV_ERROR, false, false},
    {24036, "Nested --start-group options are not permitted.", nullptr, SEV_ERROR, false, false},
    {24037, "Unmatched --end-group option (missing --start-group).", nullptr, SEV_ERROR, false,
     false},
    {DIAG_MAX_ERRORS, "error limit reached; %u errors detected", nullptr, SEV_FATAL, false, true},
    {DIAG_GDEBUG, "%s", nullptr, SEV_DEBUG, false, false},
    {DIAG_GREMARK, "%s", nullptr, SEV_REMARK, false, false},
    {DIAG_GADVICE, "%s", nullptr, SEV_ADVICE, false, false},
    {DIAG_GWARNING, "%s", nullptr, SEV_WARNING, false, false},
    {DIAG_GERROR, "%s", nullptr, SEV_ERROR, false, false},
    {DIAG_GAPPERROR, "%s", nullptr, SEV_ERROR, false, true},
    {DIAG_GFATAL, "%s", nullptr, SEV_FATAL, false, false},
    {DIAG_GDIE, "%s", nullptr, SEV_FATAL, true, false},
};
inline constexpr size_t DIAG_ROW_COUNT = sizeof diag_rows / sizeof diag_rows[0];

// The row of a code in the table in force, or null. DIAGNOSTIC::override_severity changes rows
// there.
DIAG_INFO* find_diag_info(int code);

// How many arguments the text of a code takes; -1 for an unknown code.
constexpr int diag_argument_count(int code) {
  for (const DIAG_INFO& row : diag_rows) {
    if (row.code != code) continue;
    int n = 0;
    for (const char* p = row.std_msg; *p; p++)
      if (*p == '%' && *++p != '%') n++;
    return n;
  }
  return -1;
}

constexpr bool diag_rows_ascend() {
  for (size_t k = 1; k < DIAG_ROW_COUNT; k++)
    if (diag_rows[k].code <= diag_rows[k - 1].code) return false;
  return true;
}
static_assert(diag_rows_ascend());
