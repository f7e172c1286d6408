// The program: what catches faults, then the run.

#include "DIAG/abort.h"
#include "OPT5/driver.h"

#include <cxxabi.h>

#include <cstdlib>
#include <exception>
#include <string>
#include <typeinfo>

int main(int argc, char** argv) {
  try {
    return run_compilation(argc, argv);
  } catch (const std::exception& e) {
    int status = 0;
    char* name = abi::__cxa_demangle(typeid(e).name(), nullptr, nullptr, &status);
    std::string text = std::string("Unhandled exception of type ") +
                       (name ? name : typeid(e).name()) + ": " + e.what();
    free(name);
    abort_optimizer(text.c_str());
  } catch (...) {
    abort_optimizer("Unhandled exception not derived from std::exception");
  }
}
