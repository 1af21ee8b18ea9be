/* The example project's program: says where it runs. */
#include <stdio.h>
#include <unistd.h>

int main(void) {
  char host[256] = "";
  gethostname(host, sizeof host - 1);
  printf("Hello from %s, deployed by zephprof.\n", host);
  return 0;
}
