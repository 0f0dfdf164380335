#pragma once

// Connections to the local Redis server: how to reach it is found once, in the small files that the
// server's start-up leaves in /var/run, and kept for the life of the process.
//
// Connection files hold one line each: "/var/run/redis.port", "/var/run/redis.unixsocket" and
// "/var/run/redis.requirepass". The line is taken as it stands, a line end included, so the files
// are written without one.
//
// The password is kept once, in the cache; every other copy that is made here is overwritten.
//
// Callers use redisConnectContext and redisDisconnectContext; the other functions are its steps. A
// context belongs to the thread that made it. The first call fills the cache and must come before
// other threads exist; afterwards the cache is only read. The functions carry plain names in the
// executable's dynamic symbol table.

#include <hiredis/hiredis.h>

#include <memory>

struct RedisConnectionInfo {
    int type;  // 1 = Unix-domain socket, 2 = TCP
    long port; // 0 for a Unix socket
    char socketPath[1024];
    char password[1024]; // empty when none
    const char* host;    // null means 127.0.0.1
};

extern "C" {

// The first line (at most 1023 characters) of the file of the setting, on the heap: the caller
// frees it, and wipes it when it is the password. Null when the name is null or too long, the file
// cannot be opened, or it is empty.
char* getRedisConfiguration(const char* name);

// How to reach the server, on the heap: the caller wipes and frees it. Null when the files do not
// tell. A socket is preferred; without one, port 6379 is the only TCP port accepted.
RedisConnectionInfo* getRedisConnectionInfo();

// A connected context, or null. Null stands also for a null info and an unknown type.
redisContext* connectToRedis(RedisConnectionInfo* info);

// 0 when the server accepted the password, 1 otherwise.
int redisAuthentication(redisContext* context, const char* password);

// A connected and, where a password is set, authenticated context, or null. The caller releases it
// with redisDisconnectContext.
redisContext* redisConnectContext();

// Releases the context, its buffers wiped, and returns 0; 1 for a null context.
int redisDisconnectContext(redisContext* context);

} // extern "C"

// Overwrites what the connection's requests and replies left in the library's buffers: to be called
// after an exchange that carried a secret, with every reply read. What is still to be sent and what
// has been read ahead stays. A null context is left alone. Out of reach are the buffers that the
// library has given back: each command's own once it is sent, and a read buffer's former places if
// it had to move while it grew.
void wipeConnectionBuffers(redisContext* context);

struct RedisConnectionEnd {
    void operator()(redisContext* context) const {
        (void)redisDisconnectContext(context);
    }
};

// Owns a connection and closes it at the end of the scope. Null when there is none.
using RedisConnection = std::unique_ptr<redisContext, RedisConnectionEnd>;
