// XI_*: integers of 128 bits, two's complement, for the conversions between floating values and
// whole numbers. A number is 16 bytes, the most significant first.
//
// Results wrap and go through the last pointer, which may be an operand.
#pragma once

constexpr int XI_BYTES = 16;

void XI_add(const unsigned char* a, const unsigned char* b, unsigned char* result);
void XI_sub(const unsigned char* a, const unsigned char* b, unsigned char* result);
void XI_neg(const unsigned char* a, unsigned char* result);
void XI_mpy(const unsigned char* a, const unsigned char* b, unsigned char* result);
// Truncate towards zero; the remainder has the sign of a. By zero: -1, and the result untouched.
int XI_div(const unsigned char* a, const unsigned char* b, unsigned char* result);
int XI_mod(const unsigned char* a, const unsigned char* b, unsigned char* result);
void XI_and(const unsigned char* a, const unsigned char* b, unsigned char* result);
void XI_or(const unsigned char* a, const unsigned char* b, unsigned char* result);
void XI_xor(const unsigned char* a, const unsigned char* b, unsigned char* result);
void XI_notb(const unsigned char* a, unsigned char* result);
// By 0 bits or more; 128 and beyond shift everything out. To the right the sign is repeated.
void XI_shl(const unsigned char* a, unsigned count, unsigned char* result);
void XI_shr(const unsigned char* a, unsigned count, unsigned char* result);
void XI_asg(const unsigned char* a, unsigned char* result);

// How many of the low bytes hold the number as two's complement: 1 to 16.
int XI_size(const unsigned char* a);
int XI_cmp(const unsigned char* a, const unsigned char* b); // -1, 0, 1
bool XI_eq(const unsigned char* a, const unsigned char* b);
bool XI_ne(const unsigned char* a, const unsigned char* b);
bool XI_lt(const unsigned char* a, const unsigned char* b);
bool XI_le(const unsigned char* a, const unsigned char* b);
bool XI_gt(const unsigned char* a, const unsigned char* b);
bool XI_ge(const unsigned char* a, const unsigned char* b);

void XI_itox(int v, unsigned char* result);
void XI_utox(unsigned v, unsigned char* result);
void XI_llitox(long long v, unsigned char* result);
void XI_llutox(unsigned long long v, unsigned char* result);
// 0, or -1 if the number doesn't fit; the result is its low bits in any case.
int XI_xtoi(const unsigned char* v, int* result);
int XI_xtou(const unsigned char* v, unsigned* result);
int XI_xtolli(const unsigned char* v, long long* result);
int XI_xtollu(const unsigned char* v, unsigned long long* result);

void XI_dump(const unsigned char* v); // "0x" and all digits, on standard output
