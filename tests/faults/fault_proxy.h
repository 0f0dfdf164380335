#pragma once

// A proxy between the daemon and the Redis server that spoils single commands.
//
// It listens on a Unix socket, opens one connection to the server for each of its clients, and
// passes on one command at a time: command to the server, reply to the client. The command that the
// plan names is answered with an error instead, or its connection is cut. A connection that has
// subscribed is sent whatever comes from then on.

#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

enum class FaultKind {
    NONE,
    CUT,         // the client's connection is closed instead of sending the command
    CUT_REPLY,   // the command is carried out and the connection closed instead of replying
    ERROR_REPLY, // the command is not carried out and answered with an error
};

struct FaultPlan {
    FaultKind kind = FaultKind::NONE;
    std::size_t command = 0; // index of the spoilt command, counted since the plan was set
    std::string error;       // of ERROR_REPLY, for example "OOM command not allowed"
    int connection = 0;      // only the commands of this connection count; 0: those of all
};

struct ProxiedCommand {
    int connection = 0; // from 1 on, in the order of connecting
    std::vector<std::string> words;
};

class FaultProxy {
public:
    // Listens on listenPath for the server at serverPath.
    FaultProxy(std::string serverPath, std::string listenPath);
    ~FaultProxy();
    FaultProxy(const FaultProxy&) = delete;
    FaultProxy& operator=(const FaultProxy&) = delete;

    // Counts commands from here on and spoils the one that the plan names.
    void setPlan(const FaultPlan& plan);

    // The commands since the plan was set, the spoilt one included; subscriptions do not count.
    [[nodiscard]] std::vector<ProxiedCommand> commands();

private:
    void acceptClients();
    void serve(int client, int connection);
    bool answer(int client, int server, const ProxiedCommand& command);
    FaultPlan record(const ProxiedCommand& command);

    std::string mServerPath;
    int mListener;
    std::atomic<bool> mStopping = false;
    std::mutex mMutex; // guards everything below
    FaultPlan mPlan;
    std::vector<ProxiedCommand> mCommands;
    std::size_t mCounted = 0;  // commands that the plan counts
    int mConnections = 0;      // accepted so far
    std::vector<int> mSockets; // open ones, to be shut down at the end
    std::vector<std::thread> mServants;
    std::thread mAcceptor;
};
