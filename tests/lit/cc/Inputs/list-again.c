int table[4] = {0};
long shared;
