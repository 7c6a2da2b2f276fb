/* floor-min: the cheapest server of the protocol. Accepts, reads the request, answers and closes:
   no files. The lower bound of what one record costs on the socket alone. */
#include <sys/socket.h>
#include <unistd.h>

#include "floor_common.h"

int main(void) {
  static struct floor_request request;
  int listener = floor_listen();
  for (;;) {
    int fd = accept(listener, 0, 0);
    if (fd < 0) continue;
    if (floor_read(fd, &request) == 0) floor_answer(fd, 1);
    close(fd);
  }
}
