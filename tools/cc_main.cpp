// icode-cc: the C front end. Parses a file, lowers it and writes an icode file.

#include "tools/cc_lower.h"
#include "tools/cc_target.h"

#include "DIAG/abort.h"
#include "DIAG/safemalloc.h"

#include "clang/AST/ASTConsumer.h"
#include "clang/Basic/DiagnosticSema.h"
#include "clang/Basic/FileManager.h"
#include "clang/Frontend/CompilerInstance.h"
#include "clang/Frontend/TextDiagnosticPrinter.h"
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
#include <unistd.h>

namespace cc {

namespace {

const char* const HELP =
    "usage: icode-cc [-I DIR]... [-D NAME[=VALUE]]... [-O SETTINGS] IN.c [-o OUT.icode]\n"
    "Compiles a C file to icode. -O gives the optimiser's options for the file, in one text.\n";

struct COMMAND {
  std::vector<std::string> include_dirs, macros, options;
  std::string input, output;
};

std::string output_path; // removed if the run fails

void remove_output() {
  std::error_code ignored;
  // A device is not ours to remove.
  if (!output_path.empty() && std::filesystem::is_regular_file(output_path, ignored))
    unlink(output_path.c_str());
}

void end_failing_run(const char* text) {
  remove_output();
  fprintf(stderr, "icode-cc: internal error: %s\n", text ? text : "aborted");
  _exit(1);
}

int complain(const std::string& text) {
  fprintf(stderr, "icode-cc: %s\n", text.c_str());
  return 1;
}

// Takes the argument of `-I DIR` or `-IDIR`.
bool take(const char* name, int argc, char** argv, int& k, std::string& value) {
  const size_t n = strlen(name);
  if (strncmp(argv[k], name, n) != 0) return false;
  if (argv[k][n])
    value = argv[k] + n;
  else if (k + 1 < argc)
    value = argv[++k];
  else
    return false;
  return true;
}

bool read_command(int argc, char** argv, COMMAND& command, std::string& fault) {
  for (int k = 1; k < argc; k++) {
    std::string text;
    if (take("-I", argc, argv, k, text)) {
      command.include_dirs.push_back(text);
    } else if (take("-D", argc, argv, k, text)) {
      const size_t equals = text.find('=');
      command.macros.push_back(equals == std::string::npos ? text + "=1" : text);
    } else if (take("-O", argc, argv, k, text)) {
      llvm::SmallVector<llvm::StringRef, 8> parts;
      llvm::StringRef(text).split(parts, ' ', -1, false);
      for (llvm::StringRef part : parts) {
        if (!part.startswith("-")) {
          fault = "expected an option with its dash in -O, found " + part.str();
          return false;
        }
        command.options.push_back(part.str());
      }
    } else if (take("-o", argc, argv, k, text)) {
      command.output = text;
    } else if (argv[k][0] == '-' && argv[k][1]) {
      fault = std::string("unknown or incomplete option ") + argv[k] + "; try --help";
      return false;
    } else if (!command.input.empty()) {
      fault = std::string("expected one input file, found also ") + argv[k];
      return false;
    } else {
      command.input = argv[k];
    }
  }
  if (command.input.empty()) fault = "expected an input file; try --help";
  if (command.output.empty())
    command.output = std::filesystem::path(command.input).replace_extension(".icode").string();
  if (command.output == command.input)
    fault = command.input + ": the output would overwrite the input";
  return fault.empty();
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

class CONSUMER : public clang::ASTConsumer {
public:
  CONSUMER(const COMMAND& c, const std::vector<LOOP_PRAGMA>& notes) : command(c), pragmas(notes) {}
  bool succeeded = false;

  void HandleTranslationUnit(clang::ASTContext& ctx) override {
    if (ctx.getDiagnostics().hasErrorOccurred()) return;
    FILE* fp = fopen(command.output.c_str(), "wb");
    if (!fp) {
      complain(command.output + ": cannot open for writing: " + strerror(errno));
      return;
    }
    output_path = command.output;
    I_FILE* out = I_FILE::if_create(fp, tp, command.input.c_str(), 0);
    LOWERING lowering(ctx, out, command.options, pragmas);
    const bool is_sound = lowering.run();
    if (out->if_close(true, !is_sound) != 0 && is_sound)
      complain(command.output + ": cannot write: " + strerror(errno));
    else
      succeeded = is_sound;
    delete out;
    if (!succeeded) remove_output();
  }

private:
  const COMMAND& command;
  const std::vector<LOOP_PRAGMA>& pragmas;
};

// Where the target's own headers are: beside an installed program, else in the source tree.
std::string header_folder() {
  std::error_code ignored;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", ignored);
  const auto beside = program.parent_path().parent_path() / "include" / "ulm200";
  return std::filesystem::is_directory(beside, ignored) ? beside.string() : VRX_TARGET_HEADERS;
}

bool uses_coff_abi(const std::vector<std::string>& options) {
  bool result = false;
  for (const std::string& option : options)
    if (const size_t at = option.find("abi=");
        at != std::string::npos && option.find_first_not_of('-') == at)
      result = option.substr(at + 4) == "coffabi";
  return result;
}

int compile(const COMMAND& command) {
  if (uses_coff_abi(command.options)) TYPE_PKG::abi = 1;
  tp = TYPE_PKG::init_type_pkg();
  init_symbols();

  clang::CompilerInstance instance;
  instance.createDiagnostics();
  clang::DiagnosticsEngine& diags = instance.getDiagnostics();
  // Its warnings speak of the parser's widths.
  diags.setSeverityForAll(clang::diag::Flavor::WarningOrError, clang::diag::Severity::Ignored);
  const clang::SourceLocation everywhere;
  diags.setSeverity(clang::diag::ext_implicit_function_decl, clang::diag::Severity::Error,
                    everywhere);
  diags.setSeverity(clang::diag::warn_implicit_function_decl, clang::diag::Severity::Error,
                    everywhere);
  diags.setSeverity(clang::diag::warn_multichar_character_literal, clang::diag::Severity::Error,
                    everywhere);
  diags.setSeverity(clang::diag::warn_four_char_character_literal, clang::diag::Severity::Error,
                    everywhere);
  // Checked again with the target's sizes.
  diags.setSeverity(clang::diag::err_static_assert_failed, clang::diag::Severity::Ignored,
                    everywhere);
  diags.setSeverity(clang::diag::err_static_assert_requirement_failed,
                    clang::diag::Severity::Ignored, everywhere);

  clang::LangOptions& language = instance.getLangOpts();
  clang::TargetInfo* target =
      make_target(static_cast<unsigned>(tp->mk_fltpt(TYPE::F_DOUBLE)->size));
  std::vector<std::string> implicit_includes;
  clang::CompilerInvocation::setLangDefaults(language, clang::Language::C, target->getTriple(),
                                             implicit_includes, clang::LangStandard::lang_gnu99);
  language.NoBuiltin = true;
  // A character of a literal has its byte's value: the target's char is wider than a byte.
  language.CharIsSigned = false;
  language.GNUAsm = false;
  target->adjust(diags, language);
  instance.setTarget(target);
  instance.createFileManager();
  instance.createSourceManager(instance.getFileManager());
  clang::HeaderSearchOptions& search = instance.getHeaderSearchOpts();
  search.UseBuiltinIncludes = search.UseStandardSystemIncludes = search.UseStandardCXXIncludes =
      false;
  for (const std::string& dir : command.include_dirs)
    search.AddPath(dir, clang::frontend::Angled, false, true);
  search.AddPath(header_folder(), clang::frontend::System, false, true);
  for (const std::string& macro : command.macros)
    instance.getPreprocessorOpts().addMacroDef(macro);
  instance.createPreprocessor(clang::TU_Complete);
  clang::Preprocessor& pp = instance.getPreprocessor();
  pp.getBuiltinInfo().initializeBuiltins(pp.getIdentifierTable(), language);
  auto file = instance.getFileManager().getFileRef(command.input);
  if (!file) {
    llvm::consumeError(file.takeError());
    return complain(command.input + ": cannot open: " + strerror(ENOENT));
  }
  clang::SourceManager& sm = instance.getSourceManager();
  sm.setMainFileID(sm.createFileID(*file, clang::SourceLocation(), clang::SrcMgr::C_User));
  std::vector<LOOP_PRAGMA> pragmas;
  LOOP_PRAGMA_HANDLER unroll("UNROLL", PRAGMA_UNROLL, 1, pragmas);
  LOOP_PRAGMA_HANDLER must_iterate("MUST_ITERATE", PRAGMA_MUST_ITERATE, 3, pragmas);
  pp.AddPragmaHandler(&unroll);
  pp.AddPragmaHandler(&must_iterate);
  auto* consumer = new CONSUMER(command, pragmas);
  instance.setASTConsumer(std::unique_ptr<clang::ASTConsumer>(consumer));
  instance.createASTContext();
  instance.createSema(clang::TU_Complete, nullptr);
  diags.getClient()->BeginSourceFile(language, &pp);
  clang::ParseAST(instance.getSema());
  diags.getClient()->EndSourceFile();
  pp.RemovePragmaHandler(&unroll);
  pp.RemovePragmaHandler(&must_iterate);
  return consumer->succeeded && !diags.hasErrorOccurred() ? 0 : 1;
}

} // namespace

int run_compiler(int argc, char** argv) {
  for (int k = 1; k < argc; k++)
    if (strcmp(argv[k], "--help") == 0) {
      fputs(HELP, stdout);
      return 0;
    }
  COMMAND command;
  std::string fault;
  if (!read_command(argc, argv, command, fault)) return complain(fault);
  set_abort_handler(end_failing_run);
  if_death_hook = tp_death_hook = remove_output;
  install_out_of_memory_handler(remove_output);
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

int main(int argc, char** argv) {
  signal(SIGPIPE, SIG_IGN); // a write that can't be done fails
  signal(SIGXFSZ, SIG_IGN);
  return cc::run_compiler(argc, argv);
}
