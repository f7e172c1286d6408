#ifndef _SETJMP_H
#define _SETJMP_H
typedef long jmp_buf[4];
int setjmp(jmp_buf at);
_Noreturn void longjmp(jmp_buf at, int value);
#define setjmp(at) setjmp(at)
#endif
