// The command icode-cc, the C front end: parses files, lowers them and writes an icode file.

#include "tools/cc/command.h"
#include "tools/cc/linkage.h"
#include "tools/cc/target.h"

#include "DIAG/abort.h"
#include "DIAG/safemalloc.h"
#include "DIAG/signals.h"
#include "DIAG/support.h"

#include "clang/AST/ASTConsumer.h"
#include "clang/Basic/DiagnosticSema.h"
#include "clang/Basic/FileManager.h"
#include "clang/Frontend/CompilerInstance.h"
#include "clang/Frontend/PreprocessorOutputOptions.h"
#include "clang/Frontend/TextDiagnosticPrinter.h"
#include "clang/Frontend/Utils.h"
#include "clang/Lex/HeaderSearch.h"
#include "clang/Lex/LexDiagnostic.h"
#include "clang/Lex/LiteralSupport.h"
#include "clang/Lex/Pragma.h"
#include "clang/Lex/Preprocessor.h"
#include "clang/Lex/PreprocessorOptions.h"
#include "clang/Parse/ParseAST.h"
#include "clang/Sema/Sema.h"
#include "llvm/Support/ErrorHandling.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace cc {

namespace {

std::string output_path; // removed if the run fails

void remove_output(FAILING_END = END_IN_ORDER) {
  struct stat info {};
  // A device is not ours to remove.
  if (!output_path.empty() && stat(output_path.c_str(), &info) == 0 && S_ISREG(info.st_mode))
    unlink(output_path.c_str());
}

void tell_of_failure(const char* text) {
  fprintf(stderr, "icode-cc: internal error: %s\n", text ? text : "aborted");
}

void end_after_signal() {
  end_failing_run(END_IN_SIGNAL);
}

// The parser recurses with the nesting of the source, and an operator's operands nest: a sum of
// many terms is deep. What the system keeps free below the stack is at least 128 MB.
void ask_for_a_large_stack() {
  constexpr rlim_t WANTED = 100 << 20;
  rlimit limit{};
  if (getrlimit(RLIMIT_STACK, &limit) != 0 || limit.rlim_cur >= WANTED) return;
  limit.rlim_cur = std::min(limit.rlim_max, WANTED);
  setrlimit(RLIMIT_STACK, &limit);
}

int complain(const std::string& text) {
  fprintf(stderr, "icode-cc: %s\n", text.c_str());
  return 1;
}

// ---------------------------------------------------------------------------------------------
// Pragmas

class LOOP_PRAGMA_HANDLER : public clang::PragmaHandler {
public:
  LOOP_PRAGMA_HANDLER(const char* name, int pragma_kind, size_t most, std::vector<LOOP_PRAGMA>& to)
      : PragmaHandler(name), kind(pragma_kind), max_args(most), pragmas(to) {}

  void HandlePragma(clang::Preprocessor& pp, clang::PragmaIntroducer,
                    clang::Token& first) override {
    LOOP_PRAGMA pragma{first.getLocation(), kind, {""}};
    clang::Token token;
    pp.Lex(token);
    bool is_good = token.is(clang::tok::l_paren);
    for (pp.Lex(token); is_good && token.isNot(clang::tok::r_paren); pp.Lex(token)) {
      uint64_t v;
      if (token.is(clang::tok::comma))
        pragma.args.emplace_back();
      else if (token.is(clang::tok::numeric_constant) && pragma.args.back().empty() &&
               pp.parseSimpleIntegerLiteral(token, v)) {
        pragma.args.back() = std::to_string(v);
        if (token.is(clang::tok::comma))
          pragma.args.emplace_back(); // the literal's successor was read
        if (token.is(clang::tok::r_paren)) break;
      } else
        is_good = false;
      if (token.is(clang::tok::eod)) is_good = false;
    }
    if (!is_good || pragma.args.size() > max_args) {
      clang::DiagnosticsEngine& diags = pp.getDiagnostics();
      diags.Report(first.getLocation(),
                   diags.getCustomDiagID(clang::DiagnosticsEngine::Error,
                                         "pragma '%0' takes up to %1 integers in parentheses"))
          << getName() << static_cast<unsigned>(max_args);
    } else {
      pragmas.push_back(std::move(pragma));
    }
    while (token.isNot(clang::tok::eod))
      pp.Lex(token);
  }

private:
  const int kind;
  const size_t max_args;
  std::vector<LOOP_PRAGMA>& pragmas;
};

// ---------------------------------------------------------------------------------------------

// Where the target's own headers are: beside the program's folder, built or installed.
std::string header_folder() {
  std::error_code ignored;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  return (program.parent_path().parent_path() / "include" / "ulm200").string();
}

bool uses_coff_abi(const std::vector<std::string>& options) {
  bool result = false;
  for (const std::string& option : options)
    if (const size_t at = option.find("abi=");
        at != std::string::npos && option.find_first_not_of('-') == at)
      result = option.substr(at + 4) == "coffabi";
  return result;
}

// ---------------------------------------------------------------------------------------------
// Functions of the library that are called without a declaration

struct UNDECLARED {
  std::string name, header, place;
};

// The target's header that declares a function, empty for none.
std::string header_of(const std::string& function) {
  for (const char* header : {"stdio.h", "stdlib.h", "string.h", "ctype.h", "math.h", "setjmp.h",
                             "time.h", "wchar.h", "inttypes.h"}) {
    std::ifstream file(header_folder() + "/" + header);
    for (std::string line; std::getline(file, line);) {
      if (line.empty() || line[0] == '#' || line.starts_with("static")) continue;
      const size_t at = line.find(function + "(");
      if (at != std::string::npos && at > 0 && (line[at - 1] == ' ' || line[at - 1] == '*'))
        return header;
    }
  }
  return "";
}

// Keeps the messages of one attempt, and what it lacks, until it is clear whether there is another.
class REPORTS : public clang::DiagnosticConsumer {
public:
  explicit REPORTS(clang::DiagnosticOptions& options) : out(text), printer(out, &options) {}
  std::string text;
  std::vector<UNDECLARED> undeclared;

  void BeginSourceFile(const clang::LangOptions& language, const clang::Preprocessor* pp) override {
    printer.BeginSourceFile(language, pp);
  }
  void EndSourceFile() override { printer.EndSourceFile(); }
  void HandleDiagnostic(clang::DiagnosticsEngine::Level level,
                        const clang::Diagnostic& info) override {
    DiagnosticConsumer::HandleDiagnostic(level, info);
    const unsigned id = info.getID();
    const bool is_undeclared = id == clang::diag::ext_implicit_function_decl ||
                               id == clang::diag::warn_implicit_function_decl;
    if (is_undeclared && info.getArgKind(0) == clang::DiagnosticsEngine::ak_identifierinfo) {
      const std::string name = info.getArgIdentifier(0)->getName().str();
      if (const std::string header = header_of(name); !header.empty())
        undeclared.push_back({name, header, place_of(info)});
    }
    printer.HandleDiagnostic(level, info);
  }

  void flush() {
    out.flush();
    fputs(text.c_str(), stderr);
    text.clear();
  }

private:
  llvm::raw_string_ostream out;
  clang::TextDiagnosticPrinter printer;

  static std::string place_of(const clang::Diagnostic& info) {
    if (!info.hasSourceManager()) return "";
    const clang::PresumedLoc place = info.getSourceManager().getPresumedLoc(info.getLocation());
    if (place.isInvalid()) return "";
    return std::string(place.getFilename()) + ":" + std::to_string(place.getLine()) + ":" +
           std::to_string(place.getColumn()) + ": ";
  }
};

// ---------------------------------------------------------------------------------------------

// One source and its tree.
struct SOURCE {
  explicit SOURCE(std::string file) : name(std::move(file)) {}
  ~SOURCE() {
    if (!instance || !instance->hasPreprocessor()) return;
    instance->getDiagnosticClient().EndSourceFile();
    instance->getPreprocessor().RemovePragmaHandler(&unroll);
    instance->getPreprocessor().RemovePragmaHandler(&must_iterate);
  }

  std::string name;
  std::vector<LOOP_PRAGMA> pragmas;
  LOOP_PRAGMA_HANDLER unroll{"UNROLL", PRAGMA_UNROLL, 1, pragmas};
  LOOP_PRAGMA_HANDLER must_iterate{"MUST_ITERATE", PRAGMA_MUST_ITERATE, 3, pragmas};
  REPORTS* reports = nullptr; // of the instance
  std::unique_ptr<clang::CompilerInstance> instance;

  bool set_up(const COMMAND& command, const std::set<std::string>& headers);
  bool has_failed() const { return instance->getDiagnostics().hasErrorOccurred(); }
};

void set_severities(clang::DiagnosticsEngine& diags, const clang::DiagnosticOptions& options) {
  using clang::diag::Severity;
  const clang::SourceLocation everywhere;
  // Warnings speak of the parser's widths: they are for those who ask for them.
  diags.setSeverityForAll(clang::diag::Flavor::WarningOrError, Severity::Ignored);
  clang::ProcessWarningOptions(diags, options, false);
  for (unsigned id : std::initializer_list<unsigned>{clang::diag::ext_implicit_function_decl,
                                                     clang::diag::warn_implicit_function_decl,
                                                     clang::diag::warn_multichar_character_literal,
                                                     clang::diag::warn_four_char_character_literal})
    diags.setSeverity(id, Severity::Error, everywhere);
  // Checked again with the target's sizes.
  for (unsigned id :
       std::initializer_list<unsigned>{clang::diag::err_static_assert_failed,
                                       clang::diag::err_static_assert_requirement_failed})
    diags.setSeverity(id, Severity::Ignored, everywhere);
}

// False, after a message, if the source can't be opened or the options are bad.
bool SOURCE::set_up(const COMMAND& command, const std::set<std::string>& headers) {
  instance = std::make_unique<clang::CompilerInstance>();
  // A character of a literal has its byte's value: the target's char is wider than a byte.
  std::vector<const char*> args = {"-x",
                                   "c",
                                   "-triple",
                                   "ulm200-unknown-elf",
                                   "-std=gnu17",
                                   "-fno-builtin",
                                   "-fno-signed-char",
                                   "-fno-gnu-inline-asm",
                                   "-nostdsysteminc",
                                   "-nobuiltininc"};
  for (const std::string& option : command.parser)
    args.push_back(option.c_str());
  auto invocation = std::make_shared<clang::CompilerInvocation>();
  clang::DiagnosticOptions& options = invocation->getDiagnosticOpts();
  clang::DiagnosticsEngine first(new clang::DiagnosticIDs, &options,
                                 new clang::TextDiagnosticPrinter(llvm::errs(), &options));
  const bool is_good = clang::CompilerInvocation::CreateFromArgs(*invocation, args, first);
  if (!is_good || first.hasErrorOccurred()) return false;
  for (const std::string& header : headers)
    invocation->getPreprocessorOpts().Includes.push_back(header);
  clang::HeaderSearchOptions& search = invocation->getHeaderSearchOpts();
  search.UseBuiltinIncludes = search.UseStandardSystemIncludes = search.UseStandardCXXIncludes =
      false;
  search.AddPath(header_folder(), clang::frontend::System, false, true);
  instance->setInvocation(invocation);
  reports = new REPORTS(options);
  instance->createDiagnostics(reports);
  clang::DiagnosticsEngine& diags = instance->getDiagnostics();
  set_severities(diags, options);

  clang::LangOptions& language = instance->getLangOpts();
  clang::TargetInfo* target = make_target(tp->mk_fltpt(TYPE::F_DOUBLE)->size == 32);
  target->adjust(diags, language);
  instance->setTarget(target);
  instance->createFileManager();
  instance->createSourceManager(instance->getFileManager());
  auto file = instance->getFileManager().getFileRef(name);
  if (!file) {
    llvm::consumeError(file.takeError());
    complain(name + ": cannot open: " + strerror(ENOENT));
    return false;
  }
  clang::SourceManager& sm = instance->getSourceManager();
  sm.setMainFileID(sm.createFileID(*file, clang::SourceLocation(), clang::SrcMgr::C_User));
  instance->createPreprocessor(clang::TU_Complete);
  clang::Preprocessor& pp = instance->getPreprocessor();
  pp.getBuiltinInfo().initializeBuiltins(pp.getIdentifierTable(), language);
  pp.AddPragmaHandler(&unroll);
  pp.AddPragmaHandler(&must_iterate);
  diags.getClient()->BeginSourceFile(language, &pp);
  return true;
}

// Parses the source. Known functions of the library that it doesn't declare are declared for it,
// by their headers, in a second attempt.
std::unique_ptr<SOURCE> parse(const COMMAND& command, const std::string& name) {
  std::set<std::string> headers;
  std::vector<UNDECLARED> declared;
  for (;;) {
    auto source = std::make_unique<SOURCE>(name);
    if (!source->set_up(command, headers)) return nullptr;
    clang::CompilerInstance& instance = *source->instance;
    instance.setASTConsumer(std::make_unique<clang::ASTConsumer>());
    instance.createASTContext();
    instance.createSema(clang::TU_Complete, nullptr);
    clang::ParseAST(instance.getSema());
    bool is_new = false;
    for (const UNDECLARED& u : source->reports->undeclared) {
      is_new |= headers.insert(u.header).second;
      declared.push_back(u);
    }
    if (is_new) continue;
    if (!command.no_warnings)
      for (const UNDECLARED& u : declared)
        fprintf(stderr, "%swarning: '%s' is called without a declaration; that of <%s> is taken\n",
                u.place.c_str(), u.name.c_str(), u.header.c_str());
    return source;
  }
}

int print_preprocessed(const COMMAND& command) {
  std::error_code error;
  llvm::raw_fd_ostream out(command.output.empty() ? "-" : command.output, error);
  if (error) return complain(command.output + ": cannot open for writing: " + error.message());
  output_path = command.output;
  for (const std::string& input : command.inputs) {
    SOURCE source(input);
    if (!source.set_up(command, {})) return 1;
    clang::PreprocessorOutputOptions options;
    options.ShowCPP = options.ShowLineMarkers = true;
    clang::DoPrintPreprocessedInput(source.instance->getPreprocessor(), &out, options);
    const bool has_failed = source.has_failed();
    source.reports->flush();
    out.flush();
    const std::error_code failure = out.error();
    out.clear_error();
    if (failure)
      complain((command.output.empty() ? "standard output" : command.output) +
               ": cannot write: " + failure.message());
    if (has_failed || failure) {
      remove_output();
      return 1;
    }
  }
  return 0;
}

int compile(const COMMAND& command) {
  if (uses_coff_abi(command.options)) TYPE_PKG::abi = 1;
  tp = TYPE_PKG::init_type_pkg();
  init_symbols();
  if (command.preprocess) return print_preprocessed(command);

  std::vector<std::unique_ptr<SOURCE>> sources;
  bool is_sound = true;
  for (const std::string& input : command.inputs) {
    sources.push_back(parse(command, input));
    if (!sources.back()) return 1;
    is_sound &= !sources.back()->has_failed();
    sources.back()->reports->flush();
  }
  if (!is_sound) return 1;
  FILE* fp = fopen(command.output.c_str(), "wb");
  if (!fp) return complain(command.output + ": cannot open for writing: " + strerror(errno));
  output_path = command.output;
  I_FILE* out = I_FILE::if_create(fp, tp, command.inputs[0].c_str(), 0);
  LINKAGE linkage(out, command.options);
  for (auto& source : sources)
    linkage.add(source->instance->getASTContext(), source->pragmas);
  is_sound = linkage.run();
  for (auto& source : sources)
    source->reports->flush();
  if (out->if_close(true, !is_sound) != 0 && is_sound)
    is_sound = complain(command.output + ": cannot write: " + strerror(errno)) == 0;
  delete out;
  if (!is_sound) remove_output();
  return is_sound ? 0 : 1;
}

} // namespace

int run_compiler(int argc, char** argv) {
  COMMAND command;
  std::string fault;
  if (!read_command(argc, argv, command, fault)) return complain(fault);
  if (command.help) {
    fputs(HELP, stdout);
    return 0;
  }
  tool_name = "icode-cc";
  signal(SIGPIPE, SIG_IGN); // a write that can't be done fails
  signal(SIGXFSZ, SIG_IGN);
  ask_for_a_large_stack();
  set_failing_end_hook(remove_output);
  set_abort_handler(tell_of_failure);
  install_common_handlers(common_signal_end, end_after_signal);
  set_signal_note("if the source is nested very deeply, the stack may have been too small");
  const int status = compile(command);
  erase_all_symbols();
  delete tp; // with all its types
  tp = nullptr;
  return status;
}

} // namespace cc

// Of memory that the libraries don't ask for by new, from the first on.
static void install_before_main() {
  llvm::install_bad_alloc_error_handler([](void*, const char*, bool) { out_of_memory(); });
}
[[gnu::section(".preinit_array"),
  gnu::used]] static void (*const first_of_all)() = install_before_main;
