#include "event_loop.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>
#include <net-snmp/agent/net-snmp-agent-includes.h>

#include "lldpv2host/lldp.h"

namespace lldpv2agent {

EventLoop::EventLoop(std::function<void(int fd)> onReadable, std::function<void()> onAlarm)
    : onReadable_(std::move(onReadable)), onAlarm_(std::move(onAlarm)) {}

EventLoop::~EventLoop() {
    if (alarm_ != 0) snmp_alarm_unregister(alarm_);
    for (int fd : watched_) unregister_readfd(fd);
}

void EventLoop::Watch(int fd) {
    if (watched_.insert(fd).second) register_readfd(fd, &EventLoop::OnFd, this);
}

void EventLoop::Unwatch(int fd) {
    if (watched_.erase(fd) != 0) unregister_readfd(fd);
}

void EventLoop::Sync() { lldpv2host::SetClock(clock_.Now()); }

void EventLoop::CatchUp() {
    const uint32_t now = clock_.Now();
    if (now != lldpv2host::Now()) lldpv2host::SetClock(now);
}

void EventLoop::Rearm(std::optional<uint64_t> monotonicDeadline) {
    if (alarm_ != 0) {
        snmp_alarm_unregister(alarm_);
        alarm_ = 0;
    }
    const std::optional<uint64_t> delay = clock_.Delay(lldpv2host::NextDeadline(), monotonicDeadline);
    if (!delay) return;
    // A zero interval is not a valid alarm.
    const uint64_t us = std::max<uint64_t>(*delay, 1);
    timeval tv{};
    tv.tv_sec = static_cast<time_t>(us / 1000000u);
    tv.tv_usec = static_cast<suseconds_t>(us % 1000000u);
    alarm_ = snmp_alarm_register_hr(tv, 0, &EventLoop::OnAlarm, this);
}

void EventLoop::RunOnce() { agent_check_and_process(1); }

void EventLoop::OnFd(int fd, void *self) {
    auto *loop = static_cast<EventLoop *>(self);
    loop->Sync();
    loop->onReadable_(fd);
}

void EventLoop::OnAlarm(unsigned int, void *self) {
    auto *loop = static_cast<EventLoop *>(self);
    // A one-shot alarm is gone once it has fired.
    loop->alarm_ = 0;
    loop->Sync();
    loop->onAlarm_();
}

}  // namespace lldpv2agent
