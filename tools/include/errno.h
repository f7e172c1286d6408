#ifndef _ERRNO_H
#define _ERRNO_H
extern int errno;
#define ENOENT 2
#define EINTR 4
#define EIO 5
#define E2BIG 7
#define EAGAIN 11
#define ENOMEM 12
#define EACCES 13
#define EBUSY 16
#define EEXIST 17
#define EINVAL 22
#define ENOSPC 28
#define EDOM 33
#define ERANGE 34
#define EILSEQ 84
#endif
