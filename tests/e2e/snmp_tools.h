// Helpers of the end-to-end tests: temporary directories, free loopback
// ports, child processes that are always stopped, and net-snmp's command
// line tools run with bounded time and parsed output.
#pragma once

#include <string>
#include <vector>

namespace lldpv2e2e {

// A directory under /tmp, removed with its contents on destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    const std::string &Path() const { return path_; }

private:
    std::string path_;
};

// A UDP port on 127.0.0.1 that nothing listens on right now.
int FreeUdpPort();

// A child process with stdout and stderr going to a log file. Stopped with
// SIGTERM (then SIGKILL after a grace period) when Stop is called or the
// object goes away, and sent SIGTERM when the test process dies.
class Process {
public:
    Process(std::vector<std::string> argv, std::string logFile, std::vector<std::string> env = {});
    ~Process();
    Process(const Process &) = delete;
    Process &operator=(const Process &) = delete;

    bool Running();
    // Sends SIGTERM (and SIGCONT, should it be stopped) and waits; returns
    // the exit status (128 + signal when killed by a signal, -1 when it had
    // to be killed after the grace period).
    int Stop(int graceMs = 5000);
    // Sends sig without waiting (SIGSTOP, SIGCONT, or a SIGTERM whose exit
    // Stop then collects).
    void Signal(int sig);
    std::string Log() const;

private:
    int pid_ = -1;
    int status_ = -1;
    std::string logFile_;
};

// The result of one command line tool run.
struct ToolRun {
    int exitCode = -1;
    std::string output;  // stdout and stderr together
};

// One variable binding printed by a tool with -On.
struct Varbind {
    std::vector<unsigned long> oid;
    std::string type;   // e.g. "Gauge32", "STRING", "INTEGER"; empty for exceptions
    std::string value;  // text after the type
    std::string line;   // the whole printed text
};

// Runs net-snmp tools against one agent with a private client configuration.
class SnmpTools {
public:
    SnmpTools(std::string target, std::string mibsDir, std::string clientDir);

    // Runs `tool` with the MIB options, -On and extra args, at most
    // timeoutSeconds long.
    ToolRun Run(const std::string &tool, const std::vector<std::string> &args, int timeoutSeconds = 60) const;

    // The same with -v2c -c community: options go ahead of the target,
    // args (objects, values) after it.
    ToolRun V2(const std::string &tool, const std::string &community, const std::vector<std::string> &options,
               const std::vector<std::string> &args, int timeoutSeconds = 60) const;

    const std::string &Target() const { return target_; }

private:
    std::string target_;
    std::string mibsDir_;
    std::string clientDir_;
};

// Parses -On output into variable bindings (continuation lines of long
// values are joined to their binding).
std::vector<Varbind> ParseVarbinds(const std::string &output);

// Parses a numeric OID such as ".1.3.6".
std::vector<unsigned long> ParseOid(const std::string &text);

// Problems that must never appear in a tool's output.
std::vector<std::string> OutputProblems(const std::string &output);

}  // namespace lldpv2e2e
