#pragma once

// The commands of certificatectl, one file each. Each returns the exit status; what ends it early
// is thrown as FrontEndError.

#include <string>
#include <utility>
#include <vector>

struct CommonOptions {
    bool json = false;
    double timeout = 0; // seconds; 0: the command's own
};

struct InitOptions {
    std::vector<std::string> collectionUris;
};

struct GetOptions {
    std::string uri;
    bool raw = false;
};

struct CreateOptions {
    std::string collectionUri;
    std::string file;
    std::string type; // empty: as the text looks
};

struct DeleteOptions {
    std::string uri;
};

struct ReplaceOptions {
    std::string uri;
    std::string file;
    std::string type;
};

struct GenerateCsrOptions {
    std::string collectionUri;
    // (Redfish parameter, value), only those that are given
    std::vector<std::pair<std::string, std::string>> parameters;
    std::vector<std::string> alternativeNames;
    std::vector<std::string> keyUsage;
    int keyBitLength = 0; // 0: not given
    std::string challengePassword;
    std::string outputFile; // empty: standard output
    bool noWait = false;
};

struct ActionOptions {
    std::string targetUri;
    std::string bodyFile; // empty: an empty object
};

struct TasksOptions {
    std::string uri; // empty: all
    std::string outputFile;
    bool clear = false;
};

struct WatchOptions {
    int count = 0;      // 0: without end
    double seconds = 0; // 0: without end
};

int runInit(const CommonOptions& common, const InitOptions& options);
int runGet(const CommonOptions& common, const GetOptions& options);
int runCreate(const CommonOptions& common, const CreateOptions& options);
int runDelete(const CommonOptions& common, const DeleteOptions& options);
int runReplace(const CommonOptions& common, const ReplaceOptions& options);
int runGenerateCsr(const CommonOptions& common, const GenerateCsrOptions& options);
int runAction(const CommonOptions& common, const ActionOptions& options);
int runTasks(const CommonOptions& common, const TasksOptions& options);
int runWatch(const CommonOptions& common, const WatchOptions& options);
