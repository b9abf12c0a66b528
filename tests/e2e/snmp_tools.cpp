#include "snmp_tools.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace lldpv2e2e {

namespace {

constexpr const char *kMibModules = "LLDP-V2-MIB:LLDP-EXT-DOT1-V2-MIB:LLDP-EXT-DOT3-V2-MIB";

std::string ShellQuote(const std::string &s) {
    std::string q = "'";
    for (char c : s) {
        if (c == '\'') {
            q += "'\\''";
        } else {
            q += c;
        }
    }
    return q + "'";
}

}  // namespace

TempDir::TempDir() {
    char pattern[] = "/tmp/lldpv2-e2e.XXXXXX";
    if (mkdtemp(pattern) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

int FreeUdpPort() {
    int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) throw std::runtime_error("socket failed");
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    socklen_t len = sizeof addr;
    if (bind(fd, reinterpret_cast<sockaddr *>(&addr), sizeof addr) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr *>(&addr), &len) != 0) {
        close(fd);
        throw std::runtime_error("bind failed");
    }
    int port = ntohs(addr.sin_port);
    close(fd);
    return port;
}

Process::Process(std::vector<std::string> argv, std::string logFile, std::vector<std::string> env)
    : logFile_(std::move(logFile)) {
    pid_ = fork();
    if (pid_ < 0) throw std::runtime_error("fork failed");
    if (pid_ == 0) {
        // The child goes with the test process, however that ends.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() == 1) _exit(127);
        int fd = open(logFile_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (fd >= 0) {
            dup2(fd, STDOUT_FILENO);
            dup2(fd, STDERR_FILENO);
            close(fd);
        }
        int devnull = open("/dev/null", O_RDONLY);
        if (devnull >= 0) dup2(devnull, STDIN_FILENO);
        for (const std::string &e : env) putenv(strdup(e.c_str()));
        std::vector<char *> args;
        for (std::string &a : argv) args.push_back(a.data());
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
}

Process::~Process() { Stop(); }

bool Process::Running() {
    if (pid_ <= 0) return false;
    int status = 0;
    pid_t r = waitpid(pid_, &status, WNOHANG);
    if (r == 0) return true;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    pid_ = -1;
    return false;
}

int Process::Stop(int graceMs) {
    if (!Running()) return status_;
    kill(pid_, SIGTERM);
    kill(pid_, SIGCONT);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(graceMs);
    while (std::chrono::steady_clock::now() < deadline) {
        if (!Running()) return status_;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
    status_ = -1;
    return status_;
}

void Process::Signal(int sig) {
    if (Running()) kill(pid_, sig);
}

std::string Process::Log() const {
    std::ifstream in(logFile_);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

SnmpTools::SnmpTools(std::string target, std::string mibsDir, std::string clientDir)
    : target_(std::move(target)), mibsDir_(std::move(mibsDir)), clientDir_(std::move(clientDir)) {}

ToolRun SnmpTools::Run(const std::string &tool, const std::vector<std::string> &args, int timeoutSeconds) const {
    // The tools read and write their configuration and state only in the
    // private client directory.
    std::string cmd = "env SNMPCONFPATH=" + ShellQuote(clientDir_) + " SNMP_PERSISTENT_DIR=" + ShellQuote(clientDir_) +
                      " MIBS= timeout " + std::to_string(timeoutSeconds) + " " + tool + " -M " + ShellQuote(mibsDir_) +
                      " -m " + kMibModules + " -On";
    for (const std::string &a : args) cmd.append(" ").append(ShellQuote(a));
    cmd += " 2>&1";
    ToolRun run;
    FILE *p = popen(cmd.c_str(), "r");
    if (p == nullptr) return run;
    std::array<char, 4096> buf;
    size_t n;
    while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) run.output.append(buf.data(), n);
    int status = pclose(p);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

ToolRun SnmpTools::V2(const std::string &tool, const std::string &community, const std::vector<std::string> &options,
                      const std::vector<std::string> &args, int timeoutSeconds) const {
    std::vector<std::string> all = {"-v2c", "-c", community, "-t", "3", "-r", "1"};
    all.insert(all.end(), options.begin(), options.end());
    all.push_back(target_);
    all.insert(all.end(), args.begin(), args.end());
    return Run(tool, all, timeoutSeconds);
}

std::vector<unsigned long> ParseOid(const std::string &text) {
    std::vector<unsigned long> oid;
    std::stringstream ss(text);
    std::string arc;
    while (std::getline(ss, arc, '.')) {
        if (arc.empty()) continue;
        oid.push_back(std::stoul(arc));
    }
    return oid;
}

std::vector<Varbind> ParseVarbinds(const std::string &output) {
    std::vector<Varbind> out;
    std::stringstream ss(output);
    std::string line;
    while (std::getline(ss, line)) {
        size_t eq = line.find(" = ");
        if (!line.empty() && line[0] == '.' && eq != std::string::npos) {
            Varbind vb;
            vb.oid = ParseOid(line.substr(0, eq));
            std::string rest = line.substr(eq + 3);
            size_t colon = rest.find(": ");
            if (rest == "\"\"") {
                vb.type = "STRING";  // an empty string is printed without its type
            } else if (colon != std::string::npos && rest.find(' ') >= colon) {
                vb.type = rest.substr(0, colon);
                vb.value = rest.substr(colon + 2);
            } else {
                vb.value = rest;
            }
            vb.line = line;
            out.push_back(std::move(vb));
        } else if (!out.empty() && !line.empty()) {
            out.back().value += "\n" + line;
            out.back().line += "\n" + line;
        }
    }
    return out;
}

std::vector<std::string> OutputProblems(const std::string &output) {
    static const char *kBad[] = {"Wrong Type", "Bad value", "Error in packet", "genError", "OID not increasing",
                                 "Timeout", "No Response", "Cannot find module", "Unknown Object Identifier",
                                 "Unlinked OID"};
    std::vector<std::string> problems;
    for (const char *bad : kBad) {
        if (output.find(bad) != std::string::npos) problems.push_back(bad);
    }
    return problems;
}

}  // namespace lldpv2e2e
