// Connections: lazy sockets, the listener's file, and packets over a stream.
#include "protocol/connection.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>

#include <string>

#include "packet_bytes.h"
#include "protocol/request_data.h"
#include "testing/file_text.h"
#include "testing/temp_dir.h"

namespace sarvik {
namespace {

using testing::TempDir;

bool is_open(int fd) { return fcntl(fd, F_GETFD) != -1; }

// A connected pair of stream sockets, both ends closed at the end of the test.
struct SocketPair {
  SocketPair() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0); }
  ~SocketPair() {
    if (fds[0] != -1) close(fds[0]);
    if (fds[1] != -1) close(fds[1]);
  }
  // Hands one end to a Connection, which then owns it.
  int release(int i) {
    int fd = fds[i];
    fds[i] = -1;
    return fd;
  }
  int fds[2];
};

ino_t inode_of(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? st.st_ino : 0;
}

TEST(ConnectionPath, A107CharacterPathIsStoredWhole) {
  TempDir dir;
  std::string path = dir.path() + "/";
  path += std::string(107 - path.size(), 's');
  Connection listener(path);
  ASSERT_EQ(listener.open_listener(), 0);
  EXPECT_TRUE(testing::exists(path));
}

TEST(ConnectionPath, ALongerPathIsCutTo107Characters) {
  TempDir dir;
  std::string path = dir.path() + "/";
  path += std::string(110 - path.size(), 's');
  Connection listener(path);
  ASSERT_EQ(listener.open_listener(), 0);
  EXPECT_FALSE(testing::exists(path));
  EXPECT_TRUE(testing::exists(path.substr(0, 107)));
}

TEST(ConnectionListener, CreatesNoSocketUntilFirstAccept) {
  TempDir dir;
  Connection listener(dir / "sock");
  EXPECT_FALSE(testing::exists(dir / "sock"));
  EXPECT_EQ(listener.connection_mode(), Connection::MODE_NONE);
}

TEST(ConnectionListener, SecondAcceptDoesNotRebuildTheSocket) {
  TempDir dir;
  Connection listener(dir / "sock");
  Connection first_client(dir / "sock");
  ASSERT_EQ(listener.open_listener(), 0);
  ino_t inode = inode_of(dir / "sock");
  ASSERT_EQ(first_client.connect_server(), 0);
  int first = listener.accept_client();
  ASSERT_GE(first, 0);
  close(first);
  Connection second_client(dir / "sock");
  ASSERT_EQ(second_client.connect_server(), 0);
  int second = listener.accept_client();
  ASSERT_GE(second, 0);
  close(second);
  EXPECT_EQ(inode_of(dir / "sock"), inode);
  EXPECT_EQ(listener.connection_mode(), Connection::MODE_LISTEN);
}

TEST(ConnectionListener, AFileLeftOverFromAnEarlierRunIsReplaced) {
  TempDir dir;
  testing::write_file(dir / "sock", "stale");
  Connection listener(dir / "sock");
  ASSERT_EQ(listener.open_listener(), 0);
  struct stat st;
  ASSERT_EQ(stat((dir / "sock").c_str(), &st), 0);
  EXPECT_TRUE(S_ISSOCK(st.st_mode));
}

TEST(ConnectionListener, SocketFileHasMode0777WhateverTheUmask) {
  TempDir dir;
  mode_t old_mask = umask(077);
  Connection listener(dir / "sock");
  int result = listener.open_listener();
  umask(old_mask);
  ASSERT_EQ(result, 0);
  EXPECT_EQ(testing::file_mode(dir / "sock"), 0777);
}

TEST(ConnectionListener, FailedBindLeavesNoSocketAndIsRetriedByAccept) {
  TempDir dir;
  Connection listener(dir / "missing/sock");
  EXPECT_EQ(listener.open_listener(), -1);
  EXPECT_EQ(listener.connection_mode(), Connection::MODE_NONE);
  EXPECT_LT(listener.accept_client(), 0);
  EXPECT_EQ(listener.connection_mode(), Connection::MODE_NONE);
}

TEST(ConnectionAccepted, AcceptAndConnectOnAWrappedDescriptorFailAndLeaveItOpen) {
  SocketPair pair;
  int fd = pair.release(0);
  Connection wrapped(fd);
  EXPECT_EQ(wrapped.accept_client(), -1);
  EXPECT_EQ(wrapped.connect_server(), -1);
  EXPECT_TRUE(is_open(fd));
  EXPECT_EQ(wrapped.connection_mode(), Connection::MODE_ACCEPTED);
}

TEST(ConnectionAccepted, DestructorClosesTheDescriptor) {
  SocketPair pair;
  int fd = pair.release(0);
  { Connection wrapped(fd); }
  EXPECT_FALSE(is_open(fd));
}

TEST(ConnectionClient, ConnectWithNoListenerFails) {
  TempDir dir;
  Connection client(dir / "nobody");
  EXPECT_EQ(client.connect_server(), -1);
  EXPECT_EQ(client.connection_mode(), Connection::MODE_CLIENT);
}

TEST(ConnectionPackets, PacketRoundTripsOverAStream) {
  SocketPair pair;
  Connection writer(pair.release(0));
  Connection reader(pair.release(1));
  ReqSystemLog request("1", "a", "b", "c");
  ASSERT_EQ(writer.write_packet(request), 0);
  RequestData received;
  ASSERT_EQ(reader.read_packet(received), 0);
  EXPECT_EQ(payload_of(received), payload_of(request));
}

TEST(ConnectionPackets, EmptyPacketIsTheLengthWordAlone) {
  SocketPair pair;
  {
    Connection writer(pair.release(0));
    ASSERT_EQ(writer.write_packet(Packet()), 0);
  }  // closes the writing end
  uint8_t bytes[4];
  EXPECT_EQ(read(pair.fds[1], bytes, sizeof(bytes)), 2);
  EXPECT_EQ(bytes[0], 0);
  EXPECT_EQ(bytes[1], 0);
}

TEST(ConnectionPackets, ReadingAnEmptyPacketGivesSizeZero) {
  SocketPair pair;
  Connection reader(pair.release(1));
  uint8_t header[2] = {0, 0};
  ASSERT_EQ(write(pair.fds[0], header, 2), 2);
  Packet received = packet_of({1, 2});
  EXPECT_EQ(reader.read_packet(received), 0);
  EXPECT_EQ(received.size, 0);
}

TEST(ConnectionPackets, StreamEndingBeforeTheLengthWordGivesAnEmptyPacket) {
  SocketPair pair;
  Connection reader(pair.release(1));
  uint8_t half = 0x05;
  ASSERT_EQ(write(pair.fds[0], &half, 1), 1);
  close(pair.release(0));
  Packet received = packet_of({1, 2});
  EXPECT_EQ(reader.read_packet(received), 0);
  EXPECT_EQ(received.size, 0);
}

TEST(ConnectionPackets, ShortPayloadCountsAsSuccess) {
  SocketPair pair;
  Connection reader(pair.release(1));
  uint8_t bytes[5] = {0, 10, 'a', 'b', 'c'};
  ASSERT_EQ(write(pair.fds[0], bytes, sizeof(bytes)), 5);
  close(pair.release(0));
  Packet received;
  EXPECT_EQ(reader.read_packet(received), 0);
  EXPECT_EQ(received.size, 10);
  EXPECT_EQ(Bytes(received.data, received.data + 3), (Bytes{'a', 'b', 'c'}));
}

TEST(ConnectionPackets, OversizePacketKeepsItsFirst4096Bytes) {
  SocketPair pair;
  Connection reader(pair.release(1));
  Bytes bytes{0x13, 0x88};  // 5000
  bytes.resize(2 + 5000, 'x');
  bytes[2 + 4096] = 'y';
  int sender = pair.fds[0];
  size_t sent = 0;
  while (sent < 2 + 4096) sent += write(sender, bytes.data() + sent, 2 + 4096 - sent);
  Packet received;
  EXPECT_EQ(reader.read_packet(received), 0);
  EXPECT_EQ(received.size, 4096);
  EXPECT_EQ(received.data[4095], 'x');
}

TEST(ConnectionPackets, ReadFailureLeavesThePacketAsItWas) {
  Connection reader(-1);  // reads on no descriptor fail
  Packet received = packet_of({4, 5});
  EXPECT_EQ(reader.read_packet(received), -1);
  EXPECT_EQ(payload_of(received), (Bytes{4, 5}));
}

// A deadline a little ahead, for the reads that wait for the peer.
std::chrono::steady_clock::time_point soon() {
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(200);
}

TEST(ConnectionDeadline, NothingSentByTheDeadlineLeavesThePacketAsItWas) {
  SocketPair pair;
  Connection reader(pair.release(1));
  Packet received;
  EXPECT_EQ(reader.read_packet(received, soon()), -1);
  EXPECT_EQ(received.size, 0);
}

TEST(ConnectionDeadline, ALengthWordWithoutPayloadByTheDeadlineGivesAnEmptyPacket) {
  SocketPair pair;
  Connection reader(pair.release(1));
  uint8_t word[2] = {0, 10};
  ASSERT_EQ(write(pair.fds[0], word, sizeof(word)), 2);
  Packet received;
  EXPECT_EQ(reader.read_packet(received, soon()), -1);
  EXPECT_EQ(received.size, 0);
}

TEST(ConnectionDeadline, APacketSentInTimeIsReadAsWithoutADeadline) {
  SocketPair pair;
  Connection reader(pair.release(1));
  uint8_t bytes[5] = {0, 3, 'a', 'b', 'c'};
  ASSERT_EQ(write(pair.fds[0], bytes, sizeof(bytes)), 5);
  Packet received;
  EXPECT_EQ(reader.read_packet(received, soon()), 0);
  EXPECT_EQ(Bytes(received.data, received.data + received.size), (Bytes{'a', 'b', 'c'}));
}

TEST(ConnectionDeadline, AStreamThatEndsIsNoWait) {
  SocketPair pair;
  Connection reader(pair.release(1));
  close(pair.release(0));
  Packet received;
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(reader.read_packet(received, started + std::chrono::seconds(30)), 0);
  EXPECT_EQ(received.size, 0);
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(10));
}

}  // namespace
}  // namespace sarvik
