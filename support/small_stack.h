// A stack of pointers that lives on the machine's stack while it is short: walks of trees are many
// and most spines are short.
#pragma once

#include <vector>

template <class T, int INLINE = 16> class small_stack {
public:
  bool empty() const { return count == 0; }
  T& back() {
    return count <= INLINE ? few[count - 1] : many[static_cast<size_t>(count - INLINE - 1)];
  }
  void push_back(T v) {
    if (count < INLINE)
      few[count] = v;
    else
      many.push_back(v);
    count++;
  }
  void pop_back() {
    if (count > INLINE) many.pop_back();
    count--;
  }

private:
  T few[INLINE];
  std::vector<T> many;
  int count = 0;
};
