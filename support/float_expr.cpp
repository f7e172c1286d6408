#include "support/float_expr.h"

const simul_fval& F_TEXT::value() const {
  if (!is_read.load(std::memory_order_acquire)) {
    std::lock_guard<std::mutex> hold(atof_lock);
    if (!is_read.load(std::memory_order_relaxed)) {
      f_atof(text, &parsed);
      is_read.store(true, std::memory_order_release);
    }
  }
  return parsed;
}
