/* The shared part of the two baseline servers: the socket and the reading of one request. */
#include "floor_common.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

int floor_listen(void) {
  struct sockaddr_un address;
  int fd = socket(AF_UNIX, SOCK_STREAM, 0);
  if (fd < 0) {
    perror("floor: socket");
    exit(2);
  }
  signal(SIGPIPE, SIG_IGN);
  memset(&address, 0, sizeof address);
  address.sun_family = AF_UNIX;
  strncpy(address.sun_path, FLOOR_SOCKET, sizeof address.sun_path - 1);
  unlink(FLOOR_SOCKET);
  if (bind(fd, (const struct sockaddr*)&address, sizeof address) != 0 || listen(fd, 128) != 0) {
    perror("floor: bind/listen");
    exit(2);
  }
  chmod(FLOOR_SOCKET, 0777);
  return fd;
}

int floor_read(int fd, struct floor_request* request) {
  uint8_t word[2] = {0, 0};
  uint32_t position = 0;
  ssize_t got = read(fd, word, sizeof word);
  request->size = got == 2 ? (uint16_t)((word[0] << 8) | word[1]) : 0;
  if (request->size > FLOOR_MAX_PAYLOAD) request->size = FLOOR_MAX_PAYLOAD;
  got = read(fd, request->payload, request->size);
  if (got <= 0) return -1;
  request->size = (uint16_t)got;
  request->payload[request->size] = 0;
  request->type = request->size >= 4 ? (request->payload[2] << 8) | request->payload[3] : -1;
  request->count = 0;
  while (position + 2 <= request->size && request->count < FLOOR_MAX_ENTRIES) {
    uint16_t length =
        (uint16_t)((request->payload[position] << 8) | request->payload[position + 1]);
    if (position + 2 + length > request->size) break;
    request->texts[request->count] = (const char*)request->payload + position + 2;
    request->lengths[request->count] = length;
    ++request->count;
    position += 2u + length;
  }
  return 0;
}

void floor_answer(int fd, int writes) {
  static const uint8_t answer[4] = {0x00, 0x02, 0x00, 0x00};
  /* Results ignored, as in the service: the client may have left. */
  if (writes == 2) {
    (void)!write(fd, answer, 2);
    (void)!write(fd, answer + 2, 2);
  } else {
    (void)!write(fd, answer, 4);
  }
}
