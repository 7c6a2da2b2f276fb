/* The shared part of the two baseline servers: the socket and the reading of one request. */
#ifndef SARVIK_BENCH_E2E_FLOOR_COMMON_H_
#define SARVIK_BENCH_E2E_FLOOR_COMMON_H_

#include <stdint.h>

/* The service's socket path and payload limit. */
#define FLOOR_SOCKET "/tmp/sarvik"
#define FLOOR_MAX_PAYLOAD 4096
#define FLOOR_MAX_ENTRIES 16

/* One request as read: the payload and the NUL-terminated texts of its entries. */
struct floor_request {
  uint8_t payload[FLOOR_MAX_PAYLOAD + 1];
  uint16_t size;
  int type; /* 0 access, 1 system, -1 none */
  const char* texts[FLOOR_MAX_ENTRIES];
  uint16_t lengths[FLOOR_MAX_ENTRIES];
  int count;
};

/* Binds and listens on FLOOR_SOCKET with mode 0777; exits the process on failure. */
int floor_listen(void);

/* Reads one request in two reads, length word and payload, as the service does. Returns 0 when
   a payload came. */
int floor_read(int fd, struct floor_request* request);

/* Writes the answer 00 02 00 00 in `writes` calls (1 or 2: length word, then payload). */
void floor_answer(int fd, int writes);

#endif /* SARVIK_BENCH_E2E_FLOOR_COMMON_H_ */
