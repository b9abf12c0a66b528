// The agent's one event loop: net-snmp's own. Packet and netlink sockets are
// net-snmp read descriptors, the daemons' next deadline (and the next
// replayed frame) one net-snmp alarm, re-armed after every event; the
// daemons' clock follows the monotonic clock and is brought up to date at
// every wakeup before anything else runs.
#pragma once

#include <functional>
#include <optional>
#include <set>

#include "lldpv2host/live.h"

namespace lldpv2agent {

class EventLoop {
public:
    // onReadable: a watched descriptor is readable; onAlarm: the alarm fired.
    EventLoop(std::function<void(int fd)> onReadable, std::function<void()> onAlarm);
    ~EventLoop();
    EventLoop(const EventLoop &) = delete;
    EventLoop &operator=(const EventLoop &) = delete;

    void Watch(int fd);
    void Unwatch(int fd);

    lldpv2host::live::LoopClock &clock() { return clock_; }
    // Brings the daemons' clock to now.
    void Sync();
    // The same, but only when the daemons' clock (in hundredths) has moved
    // on: what falls due by now happens, and nothing else is done.
    void CatchUp();
    // Arms the alarm for the earliest of the daemons' deadline and
    // `monotonicDeadline` (none: no alarm).
    void Rearm(std::optional<uint64_t> monotonicDeadline);
    // One pass of net-snmp's loop: blocks until a request, a readable
    // descriptor, the alarm or a signal.
    void RunOnce();

private:
    static void OnFd(int fd, void *self);
    static void OnAlarm(unsigned int reg, void *self);

    std::function<void(int)> onReadable_;
    std::function<void()> onAlarm_;
    lldpv2host::live::LoopClock clock_;
    std::set<int> watched_;
    unsigned int alarm_ = 0;
};

}  // namespace lldpv2agent
