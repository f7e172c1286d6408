# The libraries of the C parser of icode-cc, as target ClangParser::ClangParser. One version: their
# interface changes with each.
set(clang_version 14)
set(clang_root /usr/lib/llvm-${clang_version})
find_path(CLANG_HEADERS clang/AST/ASTContext.h PATHS ${clang_root}/include NO_DEFAULT_PATH)
find_library(CLANG_CPP clang-cpp PATHS ${clang_root}/lib NO_DEFAULT_PATH)
find_library(LLVM_SHARED NAMES LLVM-${clang_version} LLVM PATHS ${clang_root}/lib NO_DEFAULT_PATH)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(ClangParser REQUIRED_VARS CLANG_CPP LLVM_SHARED CLANG_HEADERS)
mark_as_advanced(CLANG_HEADERS CLANG_CPP LLVM_SHARED)
if(ClangParser_FOUND AND NOT TARGET ClangParser::ClangParser)
  add_library(ClangParser::ClangParser INTERFACE IMPORTED)
  # Of imported targets headers are those of the system, which raise no warnings.
  target_include_directories(ClangParser::ClangParser INTERFACE ${CLANG_HEADERS})
  target_compile_definitions(ClangParser::ClangParser
                             INTERFACE __STDC_CONSTANT_MACROS __STDC_FORMAT_MACROS __STDC_LIMIT_MACROS)
  target_link_libraries(ClangParser::ClangParser INTERFACE ${CLANG_CPP} ${LLVM_SHARED})
endif()
