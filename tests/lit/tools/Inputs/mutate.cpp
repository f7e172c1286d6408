// What tests/mutate may change; nobody compiles it.
int limit(int a, const char* text) {
  if (a == 10 && ready(text)) { // not a < b here
    note("a && b", a);
    return a <= 2 || (text && *text) ? 1 : 0;
  }
  return 0;
}
int other(int b) {
  return b != 3;
}
