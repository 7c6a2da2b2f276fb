/* floor-io: the file work of one record with nothing else around it. Writes the record's line to
   the same log files and state files as the service, with the system calls that its log storage
   asks for, read literally: the base-directory test, the state file read back, the tests of the
   current file and its directories, the open for appending, the mode, the position test, the
   line, the state file rewritten with a flush per line, the close, and the answer in two writes.
   With --unavoidable it makes only the calls that no implementation can avoid: the name and the
   count stay in memory, and the state file is written in one call.

   Usage: floor-io [--unavoidable] [BASE_DIR]   (BASE_DIR defaults to /mnt/data/logs) */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "floor_common.h"

#define STATE_DIR "/mnt/data/conf/sarvik"
#define LINE_LIMIT 65535

struct log_kind {
  const char* subdir;
  const char* prefix;
  /* kept across records in --unavoidable mode only */
  char name[128];
  int count;
};

static struct log_kind kinds[2] = {{"accesslog", "access_", "", 0},
                                   {"systemlog", "system_", "", 0}};
static int literal = 1;
static const char* base_dir = "/mnt/data/logs";

static int exists(const char* path) {
  struct stat st;
  return stat(path, &st) == 0;
}

static void ensure_dir(const char* path) {
  if (literal && exists(path)) return;
  if (mkdir(path, 0777) == 0) chmod(path, 0777);
}

/* The record's line: the time and the texts of the entries, comma-separated. */
static size_t build_line(const struct floor_request* request, time_t when, char* line,
                         size_t room) {
  struct tm t;
  size_t length;
  int i;
  localtime_r(&when, &t);
  length = (size_t)snprintf(line, room, "%d/%02d/%02d %02d:%02d:%02d", t.tm_year + 1900,
                            t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
  for (i = 1; i < request->count && length + request->lengths[i] + 4 < room; ++i) {
    if (request->type == 0 && (i == 5 || i == 6)) continue; /* status and error number */
    line[length++] = ',';
    memcpy(line + length, request->texts[i], strnlen(request->texts[i], request->lengths[i]));
    length += strnlen(request->texts[i], request->lengths[i]);
  }
  if (request->type == 0) length += (size_t)snprintf(line + length, room - length, ",ok");
  memcpy(line + length, "\r\n", 2);
  return length + 2;
}

static void read_state(const char* info, struct log_kind* kind) {
  char text[256];
  ssize_t got;
  int fd;
  kind->name[0] = 0;
  kind->count = 0;
  if (!exists(info)) return;
  fd = open(info, O_RDONLY);
  if (fd < 0) return;
  got = read(fd, text, sizeof text - 1);
  close(fd);
  if (got <= 0) return;
  text[got] = 0;
  if (sscanf(text, "%127[^\n]\n%d", kind->name, &kind->count) < 1) kind->name[0] = 0;
}

static void write_state(const char* info, const struct log_kind* kind) {
  char text[160];
  int fd = open(info, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  int name_length = snprintf(text, sizeof text, "%s\n", kind->name);
  int length =
      name_length + snprintf(text + name_length, sizeof text - name_length, "%d\n", kind->count);
  if (fd < 0) return;
  if (literal) {
    (void)!write(fd, text, (size_t)name_length);
    (void)!write(fd, text + name_length, (size_t)(length - name_length));
  } else {
    (void)!write(fd, text, (size_t)length);
  }
  close(fd);
}

static void write_record(const struct floor_request* request) {
  struct log_kind* kind = &kinds[request->type == 1 ? 1 : 0];
  char root[512], dir[600], path[800], info[256], line[FLOOR_MAX_PAYLOAD + 64], fresh[128];
  time_t when = request->type == 1 ? (time_t)atol(request->texts[1]) : time(NULL);
  struct tm t;
  size_t length = build_line(request, when, line, sizeof line);
  int fd, is_new;
  off_t position;

  if (literal && !exists(base_dir)) return;
  localtime_r(&when, &t);
  snprintf(root, sizeof root, "%s/%s", base_dir, kind->subdir);
  snprintf(dir, sizeof dir, "%s/%d%02d", root, t.tm_year + 1900, t.tm_mon + 1);
  snprintf(info, sizeof info, "%s/%sinfo", STATE_DIR, kind->prefix);
  snprintf(fresh, sizeof fresh, "%s%d%02d%02d%02d%02d%02d.csv", kind->prefix, t.tm_year + 1900,
           t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
  if (literal) read_state(info, kind);
  /* The month of the current name is its digits 0 to 5 behind the prefix. */
  is_new = kind->name[0] == 0 || kind->count >= LINE_LIMIT ||
           strncmp(kind->name + strlen(kind->prefix), fresh + strlen(kind->prefix), 6) != 0;
  if (!is_new) {
    snprintf(path, sizeof path, "%s/%s", dir, kind->name);
    if (literal && !exists(path)) is_new = 1;
  }
  if (is_new) {
    snprintf(kind->name, sizeof kind->name, "%s", fresh);
    kind->count = 0;
    write_state(info, kind);
    snprintf(path, sizeof path, "%s/%s", dir, kind->name);
  }
  if (literal || is_new) {
    ensure_dir(root);
    ensure_dir(dir);
  }
  fd = open(path, O_WRONLY | O_CREAT | O_APPEND, 0666);
  if (fd < 0) return;
  if (literal) {
    chmod(path, 0666);
    position = lseek(fd, 0, SEEK_END);
  } else {
    position = is_new ? 0 : 1;
    if (is_new) fchmod(fd, 0666);
  }
  if (position == 0) (void)!write(fd, "\xEF\xBB\xBF", 3);
  (void)!write(fd, line, length);
  ++kind->count;
  write_state(info, kind);
  close(fd);
}

int main(int argc, char** argv) {
  static struct floor_request request;
  int listener, i;
  for (i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--unavoidable") == 0) {
      literal = 0;
    } else {
      base_dir = argv[i];
    }
  }
  listener = floor_listen();
  for (;;) {
    int fd = accept(listener, 0, 0);
    if (fd < 0) continue;
    if (floor_read(fd, &request) == 0) {
      if (request.type == 0 || request.type == 1) write_record(&request);
      floor_answer(fd, literal ? 2 : 1);
    }
    close(fd);
  }
}
