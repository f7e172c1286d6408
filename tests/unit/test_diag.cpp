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
#include <unistd.h>

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

TEST_F(DiagTest, TheTableHoldsWhatTheToolsShare) {
  EXPECT_STREQ(find_diag_info(24003)->std_msg, "option %s overrides preceding option %s");
  EXPECT_EQ(find_diag_info(24003)->severity, SEV_WARNING);
  EXPECT_EQ(find_diag_info(24004)->severity, SEV_REMARK);
  EXPECT_EQ(find_diag_info(24017)->severity, SEV_WARNING);
  EXPECT_EQ(find_diag_info(24018)->severity, SEV_ERROR);
  EXPECT_EQ(find_diag_info(5999), nullptr);
  EXPECT_EQ(find_diag_info(24099), nullptr);
  for (int code : {6000, 6007})
    EXPECT_TRUE(find_diag_info(code)->is_internal);
  for (int code = 24000; code <= 24028; code++) {
    ASSERT_NE(find_diag_info(code), nullptr) << code;
    EXPECT_FALSE(find_diag_info(code)->is_internal);
    EXPECT_EQ(find_diag_info(code)->vrb_msg, nullptr);
  }
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
}

using DiagDeathTest = DiagTest;

TEST_F(DiagDeathTest, EndsOfARun) {
  DIAGNOSTIC::fp_m = nullptr;
  EXPECT_EXIT(
      {
        DIAGNOSTIC::exit_hook_m = [] { fputs("hook\n", stderr); };
        DIAG::invalid_option("--x").report();
        _exit(7); // never reached
      },
      ::testing::ExitedWithCode(1), "fatal error: invalid option:  --x\nhook");
  // An internal message says where it comes from, and aborts.
  EXPECT_EXIT(get_umsg_obj().die("50%", "at %d", 5), ::testing::KilledBySignal(SIGABRT),
              "user_msg_api.cpp:[0-9]+:internal fatal error #30008: \\(50%: at 5\\)");
  EXPECT_EXIT(get_umsg_obj().fatal("f"), ::testing::ExitedWithCode(1), "fatal error: \\(f\\)");
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
