/* brivel-modem-lines.so: carries a program's modem-line ioctls on a
 * pseudo-terminal (which has none) to brivel-machine-sim, so that the reset
 * pulse of a connection and avrdude's own reset reach the simulated board.
 *
 *   LD_PRELOAD=.../brivel-modem-lines.so brivel ...
 *
 * On a pseudo-terminal's slave, TIOCMGET, TIOCMSET, TIOCMBIS and TIOCMBIC
 * succeed on a per-descriptor copy of the lines (DTR and RTS up after the
 * opening, as a tty raises them), and every change is sent as "DTR=d RTS=r"
 * to the abstract socket "brivel-modem:<slave path>". Everything else goes
 * to the C library untouched. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#define MAX_FD 1024
static int lines[MAX_FD];       /* TIOCM_* bits, valid when known[fd] */
static dev_t device[MAX_FD];    /* the slave the copy belongs to */
static char known[MAX_FD];

static int pty_slave(int fd, char* name, size_t size) {
  if (fd < 0 || fd >= MAX_FD) return 0;
  if (ttyname_r(fd, name, size) != 0) return 0;
  return strncmp(name, "/dev/pts/", 9) == 0;
}

static void tell(const char* name, int bits) {
  const int s = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (s < 0) return;
  struct sockaddr_un a;
  memset(&a, 0, sizeof a);
  a.sun_family = AF_UNIX;
  const int n = snprintf(a.sun_path + 1, sizeof a.sun_path - 1, "brivel-modem:%s", name);
  char msg[32];
  const int m = snprintf(msg, sizeof msg, "DTR=%d RTS=%d", (bits & TIOCM_DTR) != 0, (bits & TIOCM_RTS) != 0);
  sendto(s, msg, (size_t)m, MSG_DONTWAIT, (struct sockaddr*)&a,
         (socklen_t)(offsetof(struct sockaddr_un, sun_path) + 1 + (size_t)n));
  close(s);
}

int ioctl(int fd, unsigned long request, ...) {
  static int (*real)(int, unsigned long, ...);
  if (!real) real = (int (*)(int, unsigned long, ...))dlsym(RTLD_NEXT, "ioctl");
  va_list ap;
  va_start(ap, request);
  void* arg = va_arg(ap, void*);
  va_end(ap);
  char name[64];
  if ((request == TIOCMGET || request == TIOCMSET || request == TIOCMBIS || request == TIOCMBIC) && arg &&
      pty_slave(fd, name, sizeof name)) {
    struct stat st;
    const dev_t dev = fstat(fd, &st) == 0 ? st.st_rdev : 0;
    if (!known[fd] || device[fd] != dev) {
      lines[fd] = TIOCM_DTR | TIOCM_RTS;
      device[fd] = dev;
      known[fd] = 1;
    }
    const int v = *(int*)arg;
    if (request == TIOCMGET) {
      *(int*)arg = lines[fd] | TIOCM_CTS | TIOCM_DSR | TIOCM_CD;
      return 0;
    }
    if (request == TIOCMSET) lines[fd] = v;
    if (request == TIOCMBIS) lines[fd] |= v;
    if (request == TIOCMBIC) lines[fd] &= ~v;
    tell(name, lines[fd]);
    return 0;
  }
  return real(fd, request, arg);
}

int close(int fd) {
  static int (*real)(int);
  if (!real) real = (int (*)(int))dlsym(RTLD_NEXT, "close");
  if (fd >= 0 && fd < MAX_FD) known[fd] = 0;
  return real(fd);
}
