int noise;
int unused(int a) { return a ^ 5; }
int main(void) {
  int x = 3;
  while (noise < 2) noise++;
  return x * 5;
}
