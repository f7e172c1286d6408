long length(const char*);
int use(void) { return length("x"); }
