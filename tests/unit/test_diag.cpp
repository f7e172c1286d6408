// Messages: header, wrapping, severities, counting, the ends of a run; signal texts.

#include "DIAG/abort.h"
#include "DIAG/diag_messages.h"
#include "DIAG/safemalloc.h"
#include "DIAG/signals.h"
#include "DIAG/support.h"
#include "DIAG/user_msg_api.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

// Messages go into a temporary file; settings are put back behind each test.
class DiagTest : public ::testing::Test {
protected:
  void SetUp() override {
    out = tmpfile();
    DIAGNOSTIC::fp_m = out;
    DIAGNOSTIC::error_count_m = 0;
  }
  void TearDown() override {
    DIAGNOSTIC::fp_m = nullptr;
    fclose(out);
    DIAGNOSTIC::warnings_m = DIAGNOSTIC::wrap_enabled_m = true;
    DIAGNOSTIC::remarks_m = DIAGNOSTIC::advice_m = DIAGNOSTIC::debug_m = false;
    DIAGNOSTIC::display_code_m = DIAGNOSTIC::display_ipos_m = DIAGNOSTIC::verbose_m = false;
    DIAGNOSTIC::debug_mode_m = DIAGNOSTIC::wrap_headers_m = false;
    DIAGNOSTIC::diag_cols_m = 79;
    DIAGNOSTIC::wrap_indent_m = 3;
    DIAGNOSTIC::indent_m = 0;
    DIAGNOSTIC::max_errors_m = 100;
    DIAGNOSTIC::error_count_m = 0;
    DIAGNOSTIC::forget_reported();
    get_umsg_obj().emit_warnings_as_errors(false);
  }
  std::string printed() {
    fflush(out);
    rewind(out);
    std::string text(4096, 0);
    text.resize(fread(text.data(), 1, text.size(), out));
    EXPECT_EQ(ftruncate(fileno(out), 0), 0);
    rewind(out);
    return text;
  }
  FILE* out = nullptr;
};

// No room for any text.
class NO_MEMORY : public DIAG::coded<24002, std::string, std::string> {
public:
  using coded::coded;
  char* get_sp_buffer() override { return nullptr; }
};

// A class that formats a text of its own.
class FORMATTING : public DIAG::gremark {
public:
  using DIAGNOSTIC::sp_print;
  using free_text::free_text;
};

TEST_F(DiagTest, TheTableHoldsWhatTheToolsShare) {
  EXPECT_STREQ(find_diag_info(24003)->std_msg, "option %s overrides preceding option %s");
  EXPECT_EQ(find_diag_info(5999), nullptr);
  EXPECT_EQ(find_diag_info(24099), nullptr);
  // F fatal, E error, W warning, R remark, from 6000 and from 24000 on.
  static const std::string severities = "FFEEFFFF"
                                        "EFEWREWFFFEEEEFEWWEWEEEEEWEWE";
  const std::string letters = "RWEF"; // in the order of severity
  for (size_t k = 0; k < severities.size(); k++) {
    const int code = static_cast<int>(k < 8 ? 6000 + k : 24000 + k - 8);
    const DIAG_INFO* info = find_diag_info(code);
    ASSERT_NE(info, nullptr) << code;
    EXPECT_EQ(info->severity, SEV_REMARK + letters.find(severities[k])) << code;
    EXPECT_EQ(info->is_internal, code == 6000 || code == 6007) << code;
    EXPECT_EQ(info->vrb_msg, nullptr);
  }
  EXPECT_EQ(find_diag_info(24029)->severity, SEV_FATAL);
}

// Those that only other tools of the toolchain issue.
TEST_F(DiagTest, MessagesOfOtherTools) {
  DIAGNOSTIC::wrap_enabled_m = false;
  DIAG::option_conflict("-a", "-b").report();
  DIAG::invalid_parameter("7", "-a").report();
  DIAG::optgen_float_needs_eabi().report();
  DIAG::optgen_no_unaligned_access().report();
  DIAG::optgen_output_file_alias("-o2", "-o", "2", "2.out").report();
  DIAG::optgen_for_the_shell("-c").report();
  EXPECT_EQ(
      printed(),
      "error: -a option conflicts with previous option -b\n"
      "error: invalid parameter 7 to option -a\n"
      "error: Cortex-M4 with hardware floating point support requires --abi=eabi. Use "
      "--float_support=none to disable hardware floating piont support.\n"
      "warning: option --tessera_cache_si_workaround disables unaligned access support\n"
      "warning: Option -o2 is an alias of linker option --output_file. The specified argument of "
      "-o is also a valid argument for the compiler option --opt_level (2). If the intent is to "
      "specify the optimization level, the option should be specified before the --run_linker(-z) "
      "option. As specified, the output file of the linker will be 2.out\n"
      "error: option -c needs to be passed to the compiler shell instead of directly to the "
      "linker.  Ignoring.\n");
  DIAGNOSTIC::fp_m = nullptr;
  EXPECT_EXIT(DIAG::null_pointer("p").report(), ::testing::KilledBySignal(SIGABRT),
              "internal fatal error #6000: pointer \"p\" should not be NULL at this point");
  EXPECT_EXIT(DIAG::non_null_pointer("p").report(), ::testing::KilledBySignal(SIGABRT),
              "internal fatal error #6007: pointer \"p\" should be NULL at this point");
  EXPECT_EXIT(DIAG::cannot_open_because("f", "why").report(), ::testing::ExitedWithCode(1),
              "fatal error: cannot open file \"f\":  why\n");
  EXPECT_EXIT(DIAG::cannot_open("f").report(), ::testing::ExitedWithCode(1),
              "fatal error: cannot open file \"f\"\n");
  EXPECT_EXIT(DIAG::not_an_archive("f").report(), ::testing::ExitedWithCode(1),
              "fatal error: \"f\" is not a valid archive file");
  EXPECT_EXIT(DIAG::optgen_unhandled_clause_in_add_hist(7).report(), ::testing::ExitedWithCode(1),
              "fatal error: unhandled clause in add_to_history\\(\\) \\[7\\]");
  EXPECT_EXIT(DIAG::optgen_out_of_memory().report(), ::testing::ExitedWithCode(1),
              "fatal error: out of memory");
}

TEST_F(DiagTest, SeverityChoosesTheStreamAndTheSwitch) {
  DIAGNOSTIC::fp_m = nullptr;
  EXPECT_EQ(DIAG::gremark("x").fp(), stdout);
  EXPECT_EQ(DIAG::gdebug("x").fp(), stdout);
  EXPECT_EQ(DIAG::gadvice("x").fp(), stdout);
  EXPECT_EQ(DIAG::gwarning("x").fp(), stderr);
  EXPECT_EQ(DIAG::gerror("x").fp(), stderr);
  DIAGNOSTIC::fp_m = out;

  USER_MSG& messages = get_umsg_obj();
  messages.remark("r");
  messages.advice("a");
  messages.debug("d");
  DIAGNOSTIC::warnings_m = false;
  messages.warning(1, "w");
  EXPECT_EQ(printed(), "");
  EXPECT_EQ(messages.get_error_count(), 0u);
  DIAGNOSTIC::remarks_m = DIAGNOSTIC::advice_m = DIAGNOSTIC::debug_m = true;
  DIAGNOSTIC::warnings_m = true;
  messages.remark("r%d", 1);
  messages.advice("a");
  messages.debug("d");
  messages.warning(1, "w");
  messages.apperror("e");
  EXPECT_EQ(printed(), "remark: (r1)\nadvice: (a)\ndebug: (d)\nwarning: (w)\nerror: (e)\n");
  EXPECT_EQ(messages.get_error_count(), 1u);
  messages.emit_warnings_as_errors(true);
  messages.warning(1, "w");
  EXPECT_EQ(printed(), "error: (w)\n");
  EXPECT_EQ(messages.get_error_count(), 2u);
}

TEST_F(DiagTest, Header) {
  DIAG_SRCINFO_DATA data{"f.c", 12, 3, true};
  DIAG_FILE_POSITION place(&data);
  get_umsg_obj().error(&place, "x");
  EXPECT_EQ(printed(), "f.c, line 12 (approximate): error: (x)\n");
  data = {"f.c", 0, 0, false};
  DIAGNOSTIC::display_code_m = true;
  get_umsg_obj().warning(&place, 77, "x");
  EXPECT_EQ(printed(), "f.c: warning #77-D: (x)\n"); // the message's own number
  get_umsg_obj().apperror("x");
  EXPECT_EQ(printed(), "error #30006: (x)\n"); // can't be lowered
  DIAGNOSTIC::advice_m = true;
  get_umsg_obj().advice(&place, "x");
  EXPECT_EQ(printed(), "f.c: advice #30003: (x)\n");
  DIAGNOSTIC::display_ipos_m = true;
  const unsigned line = __LINE__ + 1;
  DIAG::optgen_garbage("a").report();
  EXPECT_EQ(printed(), "test_diag.cpp:" + std::to_string(line) +
                           ":warning #24019-D: garbage following option -a ignored\n");
  DIAGNOSTIC::push_indent(2);
  DIAGNOSTIC::display_ipos_m = DIAGNOSTIC::display_code_m = false;
  DIAG::gerror("x").report();
  EXPECT_EQ(printed(), "  error: (x)\n");
  DIAGNOSTIC::pop_indent();
  DIAG::gerror("x").report();
  EXPECT_EQ(printed(), "error: (x)\n");
}

TEST_F(DiagTest, WrappingKeepsToTheColumns) {
  DIAGNOSTIC::diag_cols_m = 20;
  DIAG::gerror("one two three four five").report();
  EXPECT_EQ(printed(), "error: (one two\n   three four five)\n");
  // A word that fits no line is cut; before that it gets a line of its own.
  DIAG::gerror("a bbbbbbbbbbbbbbbbbbbbbbbbb c").report();
  EXPECT_EQ(printed(), "error: (a\n   bbbbbbbbbbbbbbbbb\n   bbbbbbbb c)\n");
  // A text that just fits stays.
  DIAG::gerror("12345678901").report();
  EXPECT_EQ(printed(), "error: (12345678901)\n");
  DIAGNOSTIC::indent_m = 1;
  DIAG::gerror("one two three four").report();
  EXPECT_EQ(printed(), " error: (one two\n    three four)\n");
  DIAGNOSTIC::wrap_enabled_m = false;
  DIAG::gerror("one two three four five").report();
  EXPECT_EQ(printed(), " error: (one two three four five)\n");
  DIAGNOSTIC::wrap_enabled_m = true;
  DIAGNOSTIC::indent_m = 0;
  DIAGNOSTIC::diag_cols_m = 79;
  // Lines that end in the text stay lines, and empty ones are empty.
  DIAG::optgen_merge_conflict("a", "b", "c\n\nd\n").report();
  EXPECT_EQ(printed(), "error: option a in file \"b\" conflicts with previous option c\n\n   d\n");
  // A header is wrapped only when asked.
  DIAG_SRCINFO_DATA data{"a long name.c", 1, 0, false};
  DIAG_FILE_POSITION place(&data);
  DIAGNOSTIC::diag_cols_m = 12;
  get_umsg_obj().error(&place, "x");
  EXPECT_EQ(printed(), "a long name.c, line 1: error: \n   (x)\n");
  DIAGNOSTIC::wrap_headers_m = true;
  get_umsg_obj().error(&place, "x");
  EXPECT_EQ(printed(), "a long\n   name.c,\n   line 1: \n   error: \n   (x)\n");
  EXPECT_EQ(DIAGNOSTIC::last_printable_char("ab cd", 3), 2u);
  EXPECT_EQ(DIAGNOSTIC::last_printable_char("ab cd", 5), 5u);
  EXPECT_EQ(DIAGNOSTIC::last_printable_char("abcd", 3), 0u);
}

TEST_F(DiagTest, VerboseShowsTheSourceLine) {
  char path[] = "/tmp/vrx-diag-XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(write(fd, "one\ntwo three\n", 14), 14);
  close(fd);
  DIAG_SRCINFO_DATA data{path, 2, 5, false};
  DIAG_FILE_POSITION place(&data);
  DIAGNOSTIC::verbose_m = true;
  DIAG::gerror message("x");
  message.set_src(&place);
  message.report();
  unlink(path);
  EXPECT_EQ(printed(), std::string(path) + ", line 2: error: (x)\ntwo three\n    ^\n");
}

TEST_F(DiagTest, OverridesEqualityAndDumps) {
  DIAG::optgen_garbage message("-a");
  EXPECT_TRUE(message.is_discretionary());
  EXPECT_TRUE(message.override_severity(SEV_SUPPRESSED));
  DIAG::optgen_garbage("-b").report();
  EXPECT_EQ(printed(), "");
  EXPECT_STREQ(message.sev_str(), "(suppressed)");
  message.override_severity(9);
  EXPECT_STREQ(message.sev_str(), "(unknown)");
  EXPECT_FALSE(message.override_severity(SEV_WARNING)); // nothing fatal is lowered
  find_diag_info(24019)->severity = SEV_WARNING;
  DIAG::gapperror marked("x");
  EXPECT_FALSE(marked.override_severity(SEV_WARNING));

  DIAGNOSTIC::warnings_m = false;
  message.report_once(); // switched off, so not yet said
  DIAGNOSTIC::warnings_m = true;
  message.report_once();
  DIAG::optgen_garbage("-a").report_once();
  DIAG::optgen_garbage("-c").report_once();
  EXPECT_EQ(printed(), "warning: garbage following option --a ignored\n"
                       "warning: garbage following option --c ignored\n");
  DIAGNOSTIC::push_debug_mode(true);
  message.report();
  DIAGNOSTIC::pop_debug_mode();
  EXPECT_EQ(printed(), "warning: garbage following option --a ignored\n"
                       "Code : 24019\nstd_msg : garbage following option -%s ignored\nvrb_msg : \n"
                       "File : \nLine : 0\nColumn: 0\n");
  message.flush(); // the end came already
  EXPECT_EQ(printed(), "");
  DIAGNOSTIC::push_debug_mode(true);
  DIAG::gerror("x").report();
  DIAGNOSTIC::pop_debug_mode();
  EXPECT_EQ(printed(), "error: (x)\nCode : 30005\nstd_msg : %s\nvrb_msg : \n"
                       "File : \nLine : 0\nColumn: 0\n");
  EXPECT_STREQ(FORMATTING("").sp_print("%s=%d", "n", 5), "n=5");
}

// Equal messages at different places differ. What was said is known after its place is gone.
TEST_F(DiagTest, OnceAtEachPlace) {
  auto say = [](const char* file, unsigned line) {
    DIAG_SRCINFO_DATA data{file, line, 1, false};
    DIAG_FILE_POSITION place(&data);
    DIAG::gerror message("x");
    message.set_src(&place);
    message.report_once();
  };
  for (int round = 0; round < 2; round++) {
    say("a.c", 1);
    say("a.c", 2);
    say("b.c", 2);
    DIAG::gerror("x").report_once();
  }
  EXPECT_EQ(printed(), "a.c, line 1: error: (x)\na.c, line 2: error: (x)\n"
                       "b.c, line 2: error: (x)\nerror: (x)\n");
}

using DiagDeathTest = DiagTest;

TEST_F(DiagDeathTest, EndsOfARun) {
  DIAGNOSTIC::fp_m = nullptr;
  EXPECT_EXIT(
      {
        set_failing_end_hook([](FAILING_END) { fputs("hook\n", stderr); });
        DIAG::invalid_option("--x").report();
        _exit(7); // never reached
      },
      ::testing::ExitedWithCode(1), "fatal error: invalid option:  --x\nhook");
  // An internal message says where it comes from, and aborts.
  EXPECT_EXIT(get_umsg_obj().die("50%", "at %d", 5), ::testing::KilledBySignal(SIGABRT),
              "user_msg_api.cpp:[0-9]+:internal fatal error #30008: \\(50%: at 5\\)");
  EXPECT_EXIT(get_umsg_obj().fatal("f"), ::testing::ExitedWithCode(1), "fatal error: \\(f\\)");
  DIAG_SRCINFO_DATA data{"f.c", 3, 0, false};
  DIAG_FILE_POSITION place(&data);
  EXPECT_EXIT(get_umsg_obj().fatal(&place, "%d", 7), ::testing::ExitedWithCode(1),
              "f.c, line 3: fatal error: \\(7\\)");
  // The 100th error is the last that is borne.
  EXPECT_EXIT(
      {
        for (int k = 0; k < 100; k++)
          DIAG::gerror("x").report();
        fputs("hundred\n", stderr);
        DIAG::gerror("x").report();
        _exit(7);
      },
      ::testing::ExitedWithCode(1),
      "hundred\nerror: \\(x\\)\nfatal error: error limit reached; 101 errors detected");
  EXPECT_EXIT(NO_MEMORY("a", "b").report(), ::testing::ExitedWithCode(1),
              "OUT OF MEMORY - APPLICATION ABORTED");
  EXPECT_EXIT(
      {
        DIAGNOSTIC::diag_cols_m = 3;
        DIAG::gerror("x").report();
      },
      ::testing::ExitedWithCode(1), "Optimizer terminated abnormally");
}

TEST_F(DiagDeathTest, AllocationFailures) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer ends such a run itself";
#endif
  constexpr size_t TOO_MUCH = static_cast<size_t>(-1) / 4;
  volatile size_t size = TOO_MUCH;
  EXPECT_EXIT(safemalloc(size), ::testing::ExitedWithCode(1), "ERROR: out of memory\n");
  EXPECT_EXIT(saferealloc(nullptr, size), ::testing::ExitedWithCode(1), "ERROR: out of memory\n");
  EXPECT_EXIT(safecalloc(size, 8), ::testing::ExitedWithCode(1), "ERROR: out of memory\n");
  free(safemalloc(1));
}

TEST(Signals, AppendingWithoutAllocating) {
  char text[16] = "";
  sigstrnappend(text, sizeof text, "%s=%d%%", "ab", -20);
  EXPECT_STREQ(text, "ab=-20%");
  // A small integer in a pointer's place is no text.
  sigstrnappend(text, sizeof text, "[%s]", reinterpret_cast<const char*>(100000));
  EXPECT_STREQ(text, "ab=-20%[]");
  sigstrnappend(text, sizeof text, "%s", "0123456789");
  EXPECT_STREQ(text, "ab=-20%[]012345"); // cut at the buffer's end
}

TEST(Signals, EachToolHasItsOwnSupportText) {
  const char* kept = tool_name;
  for (const char* name : {"Linker", "C/C++ Parser", "C/C++ Optimizer"}) {
    tool_name = name;
    ::testing::internal::CaptureStderr();
    print_support_message();
    const std::string text = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(text.find(name), std::string::npos);
    EXPECT_EQ(text.find("--preproc_with_comment") != std::string::npos,
              strcmp(name, "C/C++ Parser") == 0);
    EXPECT_EQ(text.find("linker command files") != std::string::npos, strcmp(name, "Linker") == 0);
  }
  tool_name = kept;
}

} // namespace

// Two failures at once: one thread tells its own, the other waits for the end.
TEST_F(DiagDeathTest, OneThreadEndsTheRun) {
  auto fail_everywhere = [] {
    set_abort_handler(nullptr);
    std::vector<std::thread> threads;
    for (int k = 0; k < 8; k++)
      threads.emplace_back([] { abort_optimizer("told by one"); });
    for (std::thread& thread : threads)
      thread.join();
  };
  EXPECT_EXIT(fail_everywhere(), testing::ExitedWithCode(1),
              "^\n>>>> Optimizer terminated abnormally\n\n>>>> told by one\\.\n$");
}
