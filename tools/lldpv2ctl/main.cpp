// lldpv2ctl: the LLDP view of a switch, read over SNMP from any agent that
// serves LLDP-V2-MIB.
//
//   lldpv2ctl [SNMP options] [--json] HOST neighbors [--detail]
//   lldpv2ctl [SNMP options] [--json] HOST statistics | local | config
//   lldpv2ctl [SNMP options] [--json] HOST watch [VIEW] [--interval S] [--count N] [--detail]
//
// The SNMP options are net-snmp's (snmp_parse_args: -v, -c, -u, -l, -a,
// -A, -x, -X, -t, -r, ...) and come before HOST; the view and its options
// come after it (parsed with CLI11).
#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "snmp.h"
#include "table_reader.h"
#include "views.h"

#ifndef LLDPV2CTL_VERSION
#define LLDPV2CTL_VERSION "0.0.0"
#endif

namespace {

using namespace lldpv2ctl;

// Exit codes scripts can rely on.
enum Exit : int { kOk = 0, kSnmpError = 1, kUsage = 2, kNoLldpV2Mib = 3 };

const char *const kUsageText =
    "usage: lldpv2ctl [SNMP options] [--json] [--max-repetitions N] HOST COMMAND [options]\n"
    "\n"
    "commands:\n"
    "  neighbors [--detail]   the remote systems, one line each (--detail: everything known,\n"
    "                         with the IEEE 802.1, 802.3 and DCBX data)\n"
    "  statistics             remote table counters and per port/agent frame counters\n"
    "  local                  local system data and local ports\n"
    "  config                 global settings and per port/agent status, notification and TLV switches\n"
    "  watch [VIEW] [--interval S] [--count N] [--detail]\n"
    "                         reads VIEW (default neighbors) every S seconds (default 5) and prints\n"
    "                         it again whenever it changed; stops after N reads (default: never)\n"
    "\n"
    "options:\n"
    "  --json                 print JSON (schema in tools/lldpv2ctl/README.md) instead of text\n"
    "  --max-repetitions N    GETBULK max-repetitions per column (default 50)\n"
    "  --version              print the version and exit\n"
    "  --help                 print this help and exit\n"
    "\n"
    "exit status: 0 ok, 1 SNMP error or no answer, 2 usage error, 3 the agent does not serve LLDP-V2-MIB\n"
    "\n"
    "SNMP options (net-snmp):\n";

// net-snmp options that take a value (as a separate argument when not
// attached to the letter).
bool TakesValue(char letter) { return std::strchr("YmMOIPDvrtcZeEnulxXaApTL3sS", letter) != nullptr; }

struct Arguments {
    std::vector<char *> snmp;          // program name, SNMP options, HOST
    std::vector<std::string> command;  // after HOST
    bool json = false;
    int maxRepetitions = 50;
    bool help = false;
    bool version = false;
};

// Splits the command line at HOST, the first argument that is neither an
// option nor an option's value. lldpv2ctl's own long options may appear
// before HOST too.
bool SplitArguments(int argc, char **argv, Arguments &args, std::string &error) {
    args.snmp.push_back(argv[0]);
    int i = 1;
    for (; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--json") {
            args.json = true;
        } else if (a == "--help") {
            args.help = true;
        } else if (a == "--version") {
            args.version = true;
        } else if (a == "--max-repetitions" || a.rfind("--max-repetitions=", 0) == 0) {
            std::string value;
            if (a.size() > 17) {
                value = a.substr(18);
            } else if (i + 1 < argc) {
                value = argv[++i];
            }
            char *end = nullptr;
            const long n = std::strtol(value.c_str(), &end, 10);
            if (value.empty() || *end != '\0' || n < 1 || n > 1000) {
                error = "--max-repetitions needs a number from 1 to 1000";
                return false;
            }
            args.maxRepetitions = static_cast<int>(n);
        } else if (a.size() >= 2 && a[0] == '-') {
            args.snmp.push_back(argv[i]);
            if (a.size() == 2 && TakesValue(a[1]) && i + 1 < argc) args.snmp.push_back(argv[++i]);
        } else {
            break;
        }
    }
    if (i < argc) {
        args.snmp.push_back(argv[i]);
        for (++i; i < argc; ++i) args.command.emplace_back(argv[i]);
    }
    return true;
}

struct Command {
    std::string view = "neighbors";
    bool detail = false;
    bool watch = false;
    int interval = 5;
    int count = 0;
};

// Parses the command after HOST; returns an exit code when it should stop.
std::optional<int> ParseCommand(Arguments &args, Command &cmd) {
    CLI::App app{"lldpv2ctl", "lldpv2ctl"};
    app.require_subcommand(1, 1);
    bool json = false;
    app.add_flag("--json", json);
    app.fallthrough();
    CLI::App *neighbors = app.add_subcommand("neighbors", "the remote systems");
    neighbors->alias("neighbours");
    neighbors->add_flag("--detail", cmd.detail, "everything known about each neighbour");
    app.add_subcommand("statistics", "counters");
    app.add_subcommand("local", "local system data and ports");
    app.add_subcommand("config", "configuration");
    CLI::App *watch = app.add_subcommand("watch", "read a view again and again, print it when it changed");
    watch->add_option("view", cmd.view, "neighbors, statistics, local or config")
        ->check(CLI::IsMember({"neighbors", "neighbours", "statistics", "local", "config"}));
    watch->add_option("--interval", cmd.interval, "seconds between reads")->check(CLI::Range(1, 86400));
    watch->add_option("--count", cmd.count, "stop after this many reads (0: never)")->check(CLI::Range(0, 1000000));
    watch->add_flag("--detail", cmd.detail, "neighbours in detail");

    static const char *const kCommands[] = {"neighbors", "neighbours", "statistics", "local", "config", "watch"};
    const std::string &first = args.command.front();
    if (first[0] != '-' && std::find(std::begin(kCommands), std::end(kCommands), first) == std::end(kCommands)) {
        std::fprintf(stderr, "lldpv2ctl: unknown command '%s' (neighbors, statistics, local, config, watch)\n",
                     first.c_str());
        std::fputs("(lldpv2ctl --help for usage)\n", stderr);
        return kUsage;
    }
    std::vector<const char *> argv = {"lldpv2ctl"};
    for (const std::string &s : args.command) argv.push_back(s.c_str());
    try {
        app.parse(static_cast<int>(argv.size()), argv.data());
    } catch (const CLI::CallForHelp &) {
        std::fputs(kUsageText, stdout);
        snmp_parse_args_descriptions(stdout);
        return kOk;
    } catch (const CLI::ParseError &e) {
        std::fprintf(stderr, "lldpv2ctl: %s\n", e.what());
        std::fprintf(stderr, "(lldpv2ctl --help for usage)\n");
        return kUsage;
    }
    if (json) args.json = true;
    CLI::App *chosen = app.get_subcommands().front();
    if (chosen == watch) {
        cmd.watch = true;
        if (cmd.view == "neighbours") cmd.view = "neighbors";
    } else {
        cmd.view = chosen->get_name();
    }
    return std::nullopt;
}

// One reading of a view: the JSON document and its text form.
struct Reading {
    Json doc;
    std::string text;
};

Reading ReadView(TableReader &reader, const Command &cmd) {
    Reading r;
    Json data;
    if (cmd.view == "neighbors") {
        data = ReadNeighbors(reader, cmd.detail);
        r.text = NeighborsText(data, cmd.detail);
    } else if (cmd.view == "statistics") {
        data = ReadStatistics(reader);
        r.text = StatisticsText(data);
    } else if (cmd.view == "local") {
        data = ReadLocal(reader);
        r.text = LocalText(data);
    } else {
        data = ReadConfig(reader);
        r.text = ConfigText(data);
    }
    r.doc = Json::Object();
    r.doc.Set("schema", 1);
    r.doc.Set("view", cmd.view);
    for (const auto &[key, value] : data.Items()) r.doc.Set(key, value);
    return r;
}

std::string Now() {
    const std::time_t t = std::time(nullptr);
    char buf[32];
    std::strftime(buf, sizeof buf, "%H:%M:%S", std::localtime(&t));
    return buf;
}

int Run(TableReader &reader, const std::string &host, bool v3, const Command &cmd, bool json) {
    try {
        switch (CheckSupport(reader)) {
            case Support::Served: break;
            case Support::NotServed:
                std::fprintf(stderr, "lldpv2ctl: %s does not serve LLDP-V2-MIB\n", host.c_str());
                return kNoLldpV2Mib;
            case Support::ServesV1Only:
                std::fprintf(stderr, "lldpv2ctl: %s does not serve LLDP-V2-MIB (only the LLDP-MIB of 2005)\n",
                             host.c_str());
                return kNoLldpV2Mib;
        }
        if (!cmd.watch) {
            const Reading r = ReadView(reader, cmd);
            const std::string out = json ? r.doc.Dump(2) + "\n" : r.text;
            std::fwrite(out.data(), 1, out.size(), stdout);
            return kOk;
        }
        const bool tty = isatty(STDOUT_FILENO) != 0 && !json;
        std::string previous;
        for (int n = 1; cmd.count == 0 || n <= cmd.count; ++n) {
            if (n > 1) std::this_thread::sleep_for(std::chrono::seconds(cmd.interval));
            const Reading r = ReadView(reader, cmd);
            const std::string current = json ? r.doc.Dump(-1) : r.text;
            if (n > 1 && current == previous) continue;
            previous = current;
            std::string out;
            if (json) {
                out = current + "\n";
            } else {
                if (tty) out = "\033[H\033[2J";
                out += "--- " + host + " " + cmd.view + " at " + Now() + (tty ? " (every " + std::to_string(cmd.interval) + " s)" : "") + "\n" + current;
            }
            std::fwrite(out.data(), 1, out.size(), stdout);
            std::fflush(stdout);
        }
        return kOk;
    } catch (const SnmpError &e) {
        if (e.kind() == SnmpError::Kind::Timeout) {
            if (v3) {
                std::fprintf(stderr, "lldpv2ctl: no answer from %s (timeout)\n", host.c_str());
            } else {
                std::fprintf(stderr, "lldpv2ctl: no answer from %s: timeout or wrong community\n", host.c_str());
            }
        } else {
            std::fprintf(stderr, "lldpv2ctl: %s: %s\n", host.c_str(), e.what());
        }
        return kSnmpError;
    }
}

}  // namespace

int main(int argc, char **argv) {
    Arguments args;
    std::string error;
    if (!SplitArguments(argc, argv, args, error)) {
        std::fprintf(stderr, "lldpv2ctl: %s\n", error.c_str());
        return kUsage;
    }
    if (args.version) {
        std::printf("lldpv2ctl %s (net-snmp %s)\n", LLDPV2CTL_VERSION, netsnmp_get_version());
        return kOk;
    }
    if (args.help) {
        std::fputs(kUsageText, stdout);
        snmp_parse_args_descriptions(stdout);
        return kOk;
    }
    if (args.command.empty()) {
        std::fputs(args.snmp.size() > 1 && args.snmp.back()[0] != '-' ? "lldpv2ctl: no command after HOST\n"
                                                                       : "lldpv2ctl: no HOST given\n",
                   stderr);
        std::fputs("(lldpv2ctl --help for usage)\n", stderr);
        return kUsage;
    }
    Command cmd;
    if (auto code = ParseCommand(args, cmd)) return *code;

    // Numeric OIDs only: no MIB module is needed, so none is loaded.
    setenv("MIBS", "", 1);
    netsnmp_session settings;
    const int parsed = snmp_parse_args(static_cast<int>(args.snmp.size()), args.snmp.data(), &settings, "", nullptr);
    if (parsed == NETSNMP_PARSE_ARGS_SUCCESS_EXIT) return kOk;
    if (parsed < 0) {
        if (parsed == NETSNMP_PARSE_ARGS_ERROR_USAGE) std::fputs("(lldpv2ctl --help for usage)\n", stderr);
        return kUsage;
    }
    const std::string host = settings.peername != nullptr ? settings.peername : "";
    const bool v3 = settings.version == SNMP_VERSION_3;
    int code;
    try {
        NetSnmpTransport transport(&settings);
        TableReader reader(transport, args.maxRepetitions);
        code = Run(reader, host, v3, cmd, args.json);
    } catch (const SnmpError &e) {
        if (e.kind() == SnmpError::Kind::Timeout) {
            std::fprintf(stderr, "lldpv2ctl: no answer from %s (timeout)\n", host.c_str());
        } else {
            std::fprintf(stderr, "lldpv2ctl: %s: %s\n", host.c_str(), e.what());
        }
        code = kSnmpError;
    }
    snmp_shutdown("snmpapp");
    return code;
}
