// LLDP frames on Ethernet, captures written and replayed through the live
// switch's receive path, and the loop's clock against a fake monotonic clock.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "lldp/lldpdu.h"
#include "lldpv2host/lldp.h"
#include "lldpv2host/live.h"
#include "lldpv2host/switch.h"

namespace {

using namespace lldpv2host;
using namespace lldpv2host::live;

const Mac kPeer = {0x02, 0x00, 0x5e, 0xcc, 0x00, 0x09};

std::vector<uint8_t> Pdu(uint8_t id, const std::string &port, uint16_t ttl = 120) {
    lldp::Lldpdu pdu;
    pdu.chassisId = {0x02, 0x00, 0x00, 0x00, 0x00, id};
    pdu.portId.assign(port.begin(), port.end());
    pdu.ttl = ttl;
    pdu.sysName = "peer-" + std::to_string(id);
    return lldp::EncodeLldpdu(pdu);
}

TEST(LiveFrames, BuildAndParse) {
    const std::vector<uint8_t> small = Pdu(1, "p1");
    for (uint32_t agent = 1; agent <= 3; ++agent) {
        SCOPED_TRACE(agent);
        const std::vector<uint8_t> f = BuildFrame(AgentGroupMac(agent), kPeer, small.data(), small.size());
        ASSERT_EQ(f.size(), kMinFrame);  // padded
        EXPECT_TRUE(std::equal(f.begin() + 6, f.begin() + 12, kPeer.begin()));
        EXPECT_EQ(f[12], 0x88);
        EXPECT_EQ(f[13], 0xCC);
        EXPECT_TRUE(std::all_of(f.begin() + 14 + static_cast<long>(small.size()), f.end(), [](uint8_t b) { return b == 0; }));
        std::optional<ParsedFrame> p = ParseFrame(f.data(), f.size());
        ASSERT_TRUE(p);
        EXPECT_EQ(p->agent, agent);
        EXPECT_EQ(p->source, kPeer);
        // The padding travels with the LLDPDU; the decoder stops at End.
        ASSERT_EQ(p->lldpdu.size(), kMinFrame - kEthernetHeader);
        lldp::DecodeResult d = lldp::DecodeLldpdu(p->lldpdu);
        EXPECT_TRUE(d.accepted);
        EXPECT_EQ(d.pdu.sysName, "peer-1");
    }
    // A frame longer than the minimum is not padded.
    lldp::Lldpdu big;
    big.chassisId = {1, 2, 3, 4, 5, 6};
    big.portId = {'x'};
    big.sysDesc = std::string(100, 'd');
    const std::vector<uint8_t> bigPdu = lldp::EncodeLldpdu(big);
    EXPECT_EQ(BuildFrame(AgentGroupMac(1), kPeer, bigPdu.data(), bigPdu.size()).size(), 14 + bigPdu.size());

    struct Bad {
        const char *what;
        std::vector<uint8_t> frame;
    };
    std::vector<uint8_t> unicast = BuildFrame(kPeer, kPeer, small.data(), small.size());
    std::vector<uint8_t> arp = BuildFrame(AgentGroupMac(1), kPeer, small.data(), small.size());
    arp[12] = 0x08;
    arp[13] = 0x06;
    std::vector<uint8_t> otherGroup = BuildFrame({0x01, 0x80, 0xC2, 0x00, 0x00, 0x02}, kPeer, small.data(), small.size());
    const Bad bad[] = {{"unicast destination", unicast},
                       {"another ethertype", arp},
                       {"another group address", otherGroup},
                       {"shorter than a header", std::vector<uint8_t>(unicast.begin(), unicast.begin() + 13)}};
    for (const Bad &b : bad) EXPECT_FALSE(ParseFrame(b.frame.data(), b.frame.size())) << b.what;
}

TEST(LiveFrames, SourceOfSimulatedPorts) {
    const std::vector<uint8_t> macChassis = Pdu(0x42, "p");  // chassis 02:00:00:00:00:42
    EXPECT_EQ(DerivedPortMac(macChassis.data(), macChassis.size(), 3), (Mac{0x02, 0x00, 0x00, 0x00, 0x00, 0x45}));
    // Carries into the next octets, stays within the low 24 bits.
    EXPECT_EQ(DerivedPortMac(macChassis.data(), macChassis.size(), 0x1000000 + 0xC0),
              (Mac{0x02, 0x00, 0x00, 0x00, 0x01, 0x02}));

    lldp::Lldpdu named;
    named.chassisIdSubtype = 7;
    named.chassisId = {'s', 'w', '1'};
    named.portId = {'p'};
    const std::vector<uint8_t> local = lldp::EncodeLldpdu(named);
    const Mac a = DerivedPortMac(local.data(), local.size(), 1);
    const Mac b = DerivedPortMac(local.data(), local.size(), 2);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, DerivedPortMac(local.data(), local.size(), 1));
    for (const Mac &m : {a, b, DerivedPortMac(nullptr, 0, 5)}) {
        EXPECT_EQ(m[0] & 0x01, 0) << "unicast";
        EXPECT_EQ(m[0] & 0x02, 0x02) << "locally administered";
    }
}

TEST(LiveClock, DeadlinesBecomeDelays) {
    uint64_t now = 5'000'000'123;
    LoopClock clock([&] { return now; });
    clock.Rebase(1000);
    EXPECT_EQ(clock.Now(), 1000u);
    now += 9'999;
    EXPECT_EQ(clock.Now(), 1000u);
    now += 1;
    EXPECT_EQ(clock.Now(), 1001u);  // 10 ms later

    struct Case {
        const char *what;
        std::optional<uint32_t> deadline;
        std::optional<uint64_t> monotonic;  // relative to now
        std::optional<uint64_t> delay;
    };
    const Case cases[] = {
        {"nothing pending", std::nullopt, std::nullopt, std::nullopt},
        {"5 s ahead", 1501, std::nullopt, 5'000'000},
        {"due now: the next hundredth", 1001, std::nullopt, 10'000},
        {"overdue: the next hundredth", 900, std::nullopt, 10'000},
        {"a replayed frame first", 1501, 20'000, 20'000},
        {"the daemons first", 1002, 3'000'000, 10'000},
        {"a replayed frame that is due", std::nullopt, 0, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::optional<uint64_t> mono;
        if (c.monotonic) mono = now + *c.monotonic;
        EXPECT_EQ(clock.Delay(c.deadline, mono), c.delay);
    }
    // Part way into a hundredth, the alarm lands on the deadline itself.
    now += 4'000;
    EXPECT_EQ(clock.Delay(1002, std::nullopt), 6'000u);

    // Across the wrap of the 32-bit clock.
    clock.Rebase(0xFFFFFFF0u);
    EXPECT_EQ(clock.Delay(0x10u, std::nullopt), 0x20u * 10'000);
    now += 0x20u * 10'000;
    EXPECT_EQ(clock.Now(), 0x10u);
}

TEST(LiveCaptureOptions, OptionsOfReplays) {
    struct Case {
        const char *text;
        const char *path;
        const char *port;
    };
    const Case inputs[] = {
        {"cap.pcap", "cap.pcap", ""}, {"cap.pcap:7", "cap.pcap", "7"}, {"dir/cap.pcapng:eth0", "dir/cap.pcapng", "eth0"},
        {"a:b:c", "a:b", "c"},        {"cap.pcap:", "cap.pcap:", ""},
    };
    for (const Case &c : inputs) {
        PcapInput in = PcapInput::Parse(c.text);
        EXPECT_EQ(in.path, c.path) << c.text;
        EXPECT_EQ(in.port, c.port) << c.text;
    }
    const std::pair<const char *, std::optional<double>> speeds[] = {
        {"recorded", 1.0}, {"max", 0.0}, {"2", 2.0}, {"0.5", 0.5}, {"0", std::nullopt}, {"-1", std::nullopt},
        {"fast", std::nullopt}, {"2x", std::nullopt}, {"", std::nullopt}};
    for (const auto &[text, factor] : speeds) {
        std::optional<PcapSpeed> s = PcapSpeed::Parse(text);
        EXPECT_EQ(s.has_value(), factor.has_value()) << text;
        if (s && factor) {
            EXPECT_EQ(s->factor, *factor) << text;
        }
    }
}

// A scenario of one simulated port 7 (and, optionally, a port on a Linux
// interface that does not exist), replays and recordings in a private
// directory, and a fake monotonic clock.
class LiveCapture : public ::testing::Test {
protected:
    void SetUp() override {
        ResetSwitch();
        ResetLldp();
        dir_ = std::filesystem::temp_directory_path() / ("lldpv2-live-" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
    }
    void TearDown() override {
        sw_.reset();
        ResetSwitch();
        ResetLldp();
        std::filesystem::remove_all(dir_);
    }

    std::string Path(const std::string &name) const { return (dir_ / name).string(); }

    std::string Scenario(const std::string &extraPorts = "") {
        const std::string path = Path("switch.yaml");
        std::ofstream(path) << "system:\n"
                               "  chassis-id: {subtype: mac-address, value: \"02:00:5e:10:00:01\"}\n"
                               "  name: replay-sw\n"
                               "clock: 500\n"
                               "nodes:\n"
                               "  - id: 1\n"
                               "interfaces:\n"
                               "  - {ifindex: 7, node: 1, type: gigabit-ethernet, name: ge-1/0/7}\n"
                            << extraPorts;
        return path;
    }

    void Capture(const std::string &path, const std::vector<std::vector<uint8_t>> &frames, uint64_t gapMicros) {
        std::string error;
        std::unique_ptr<PcapWriter> w = PcapWriter::Open(path, &error);
        ASSERT_TRUE(w) << error;
        uint64_t t = 1'700'000'000'000'000;
        for (const auto &f : frames) {
            w->Write(f, t);
            t += gapMicros;
        }
    }

    LiveSwitch::StartError Start(LiveOptions options, std::string *error) {
        LiveSwitch::Hooks hooks;
        hooks.monotonicMicros = [this] { return now_; };
        hooks.log = [this](LiveSwitch::Level, const std::string &text) { log_ += text + "\n"; };
        sw_ = std::make_unique<LiveSwitch>(hooks);
        return sw_->Start(options, error);
    }

    std::filesystem::path dir_;
    uint64_t now_ = 1'000'000'000;
    std::unique_ptr<LiveSwitch> sw_;
    std::string log_;
};

TEST_F(LiveCapture, ReplayIntoTheReceiveRulesAndRecord) {
    const std::vector<uint8_t> one = Pdu(1, "eth0"), two = Pdu(2, "eth1");
    // The mandatory TTL TLV missing: chassis id and port id, then End.
    const size_t chassisLen = 2 + one[1];
    const size_t portLen = 2 + one[chassisLen + 1];
    std::vector<uint8_t> noTtl(one.begin(), one.begin() + static_cast<long>(chassisLen + portLen));
    noTtl.insert(noTtl.end(), {0, 0});
    std::vector<uint8_t> arp = BuildFrame({0xff, 0xff, 0xff, 0xff, 0xff, 0xff}, kPeer, one.data(), 20);
    arp[12] = 0x08;
    arp[13] = 0x06;
    std::vector<uint8_t> cut = BuildFrame(AgentGroupMac(1), kPeer, one.data(), one.size());
    cut.resize(kEthernetHeader + 5);  // inside the chassis id TLV
    const std::vector<std::vector<uint8_t>> frames = {
        BuildFrame(AgentGroupMac(1), kPeer, one.data(), one.size()),
        arp,
        BuildFrame(AgentGroupMac(1), kPeer, noTtl.data(), noTtl.size()),
        BuildFrame(kPeer, kPeer, two.data(), two.size()),  // to no agent
        cut,
        BuildFrame(AgentGroupMac(2), kPeer, two.data(), two.size()),
    };
    const std::string in = Path("in.pcap");
    Capture(in, frames, 1000);

    LiveOptions options;
    options.scenario = Scenario();
    options.pcapIn = {PcapInput{in, "ge-1/0/7"}};
    options.pcapSpeed = PcapSpeed{0};
    options.pcapOut = Path("out.pcap");
    std::string error;
    ASSERT_EQ(Start(options, &error), LiveSwitch::StartError::None) << error;
    EXPECT_NE(log_.find("replaying 5 LLDP frames"), std::string::npos) << log_;
    EXPECT_NE(log_.find("1 other frames skipped"), std::string::npos) << log_;
    EXPECT_EQ(NeighbourCount(), 0u);
    ASSERT_EQ(sw_->NextReplayMicros(), now_);  // all at once, from now
    sw_->RunDue();
    EXPECT_FALSE(sw_->NextReplayMicros());

    // Two neighbours; the two malformed frames discarded on agent 1.
    std::vector<NeighbourView> rows = Neighbours(7);
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0].agent, 1u);
    EXPECT_EQ(rows[0].portId, (std::vector<uint8_t>{'e', 't', 'h', '0'}));
    EXPECT_EQ(rows[1].agent, 2u);
    EXPECT_EQ(Counters(7, 1).framesDiscarded, 2u);
    EXPECT_EQ(Counters(7, 2).framesDiscarded, 0u);
    // Each event is logged once.
    auto lines = [&](const std::string &text) {
        size_t n = 0;
        for (size_t at = log_.find(text); at != std::string::npos; at = log_.find(text, at + 1)) ++n;
        return n;
    };
    EXPECT_EQ(lines("neighbour inserted on port 7 (ge-1/0/7) nearest-bridge index 1"), 1u) << log_;
    EXPECT_EQ(lines("neighbour inserted on port 7 (ge-1/0/7) nearest-non-tpmr-bridge index 1"), 1u) << log_;
    EXPECT_EQ(lines("frame discarded on port 7 (ge-1/0/7) nearest-bridge"), 2u) << log_;

    // Time passes: the port's agents transmit; then the agent stops.
    SetClock(Now() + 300);
    sw_->Shutdown();

    std::vector<CapturedFrame> out;
    ASSERT_TRUE(ReadCapture(Path("out.pcap"), out, &error)) << error;
    // The five LLDP frames received, as they came, among what the port sent.
    std::vector<std::vector<uint8_t>> received;
    std::vector<std::vector<uint8_t>> sent;
    for (const CapturedFrame &f : out) {
        (std::equal(kPeer.begin(), kPeer.end(), f.bytes.begin() + 6) ? received : sent).push_back(f.bytes);
    }
    EXPECT_EQ(received, (std::vector<std::vector<uint8_t>>{frames[0], frames[2], frames[3], frames[4], frames[5]}));
    // What the simulated port sent: from a MAC derived from the chassis id,
    // to the agent's group address, padded, ending with the shutdown
    // LLDPDUs; every frame the counters count.
    size_t shutdowns = 0;
    const Mac source = {0x02, 0x00, 0x5e, 0x10, 0x00, 0x08};
    for (size_t i = 0; i < sent.size(); ++i) {
        SCOPED_TRACE(i);
        std::optional<ParsedFrame> f = ParseFrame(sent[i].data(), sent[i].size());
        ASSERT_TRUE(f);
        EXPECT_GE(sent[i].size(), kMinFrame);
        EXPECT_EQ(f->source, source);
        lldp::DecodeResult d = lldp::DecodeLldpdu(f->lldpdu);
        ASSERT_TRUE(d.accepted);
        if (d.pdu.ttl == 0) {
            ++shutdowns;
        } else {
            EXPECT_EQ(shutdowns, 0u) << "nothing after the shutdown LLDPDUs";
            EXPECT_EQ(d.pdu.sysName, "replay-sw");
        }
    }
    EXPECT_EQ(shutdowns, 3u);  // one per agent of the port
    EXPECT_EQ(sent.size(), static_cast<size_t>(Counters(7, 1).framesOut + Counters(7, 2).framesOut +
                                               Counters(7, 3).framesOut));
}

TEST_F(LiveCapture, ReplayAtTheRecordedPace) {
    const std::vector<uint8_t> one = Pdu(1, "eth0"), two = Pdu(2, "eth1");
    const std::string in = Path("paced.pcap");
    Capture(in, {BuildFrame(AgentGroupMac(1), kPeer, one.data(), one.size()),
                 BuildFrame(AgentGroupMac(1), kPeer, two.data(), two.size())},
            3'000'000);
    struct Case {
        const char *speed;
        uint64_t gap;
    };
    for (const Case &c : {Case{"recorded", 3'000'000}, Case{"2", 1'500'000}}) {
        SCOPED_TRACE(c.speed);
        ResetSwitch();
        ResetLldp();
        LiveOptions options;
        options.scenario = Scenario();
        options.pcapIn = {PcapInput::Parse(in)};  // the first LLDP port
        options.pcapSpeed = *PcapSpeed::Parse(c.speed);
        std::string error;
        ASSERT_EQ(Start(options, &error), LiveSwitch::StartError::None) << error;
        const uint64_t start = now_;
        sw_->RunDue();
        EXPECT_EQ(NeighbourCount(), 1u);
        ASSERT_EQ(sw_->NextReplayMicros(), start + c.gap);
        now_ = start + c.gap - 1;
        sw_->RunDue();
        EXPECT_EQ(NeighbourCount(), 1u);
        now_ = start + c.gap;
        sw_->RunDue();
        EXPECT_EQ(NeighbourCount(), 2u);
        EXPECT_FALSE(sw_->NextReplayMicros());
        sw_.reset();
    }
}

TEST_F(LiveCapture, RefusedStarts) {
    const std::string in = Path("ok.pcap");
    Capture(in, {}, 0);
    std::ofstream(Path("text.pcap")) << "not a capture\n";
    // A capture that cannot be replayed stops the start; the message names
    // the file once and says what is wrong with it.
    struct Case {
        const char *what;
        std::string path;
        std::string port;
        std::string error;
    };
    const Case cases[] = {
        {"no such port", in, "99", in + ": no port 99"},
        {"no such port name", in, "eth9", in + ": no port eth9"},
        {"no such file", Path("missing.pcap"), "", Path("missing.pcap") + ": No such file or directory"},
        {"not a capture", Path("text.pcap"), "", Path("text.pcap") + ": "},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        LiveOptions options;
        options.scenario = Scenario();
        options.pcapIn = {PcapInput{c.path, c.port}};
        std::string error;
        EXPECT_EQ(Start(options, &error), LiveSwitch::StartError::Io);
        EXPECT_EQ(error.rfind(c.error, 0), 0u) << error;
        EXPECT_EQ(error.find(c.path, 1), std::string::npos) << "path repeated: " << error;
    }
    // A scenario that does not load.
    LiveOptions options;
    options.scenario = Path("nowhere.yaml");
    std::string error;
    EXPECT_EQ(Start(options, &error), LiveSwitch::StartError::Refused);
}

TEST_F(LiveCapture, ACaptureCutShortGivesItsCompleteRecords) {
    const std::string path = Path("cut.pcap");
    const std::vector<std::vector<uint8_t>> frames = {std::vector<uint8_t>(60, 1), std::vector<uint8_t>(60, 2),
                                                      std::vector<uint8_t>(60, 3)};
    Capture(path, frames, 1000);
    const auto whole = std::filesystem::file_size(path);
    // Cut inside the last record's data, then inside its header.
    for (const uintmax_t cut : {uintmax_t{10}, uintmax_t{60 + 6}}) {
        SCOPED_TRACE(cut);
        std::filesystem::resize_file(path, whole - cut);
        std::vector<CapturedFrame> read;
        std::string error;
        std::string warning;
        ASSERT_TRUE(ReadCapture(path, read, &error, &warning)) << error;
        ASSERT_EQ(read.size(), 2u);
        EXPECT_EQ(read[1].bytes, frames[1]);
        EXPECT_NE(warning.find("using the 2 complete frames"), std::string::npos) << warning;
    }
    // A whole file has nothing to warn about.
    Capture(path, frames, 1000);
    std::vector<CapturedFrame> read;
    std::string error;
    std::string warning;
    ASSERT_TRUE(ReadCapture(path, read, &error, &warning)) << error;
    EXPECT_EQ(read.size(), 3u);
    EXPECT_EQ(warning, "");
}

TEST_F(LiveCapture, APortOnALinuxInterfaceThatIsNotThere) {
    LiveOptions options;
    options.scenario = Scenario("  - {ifindex: 8, node: 1, type: gigabit-ethernet, name: ge-1/0/8, linux: lvnone0}\n");
    std::string error;
    ASSERT_EQ(Start(options, &error), LiveSwitch::StartError::None) << error;
    // No socket, and the link is down until the interface appears.
    EXPECT_TRUE(sw_->SocketPorts().empty());
    ASSERT_TRUE(FindInterface(8));
    EXPECT_FALSE(FindInterface(8)->operUp);
    EXPECT_TRUE(FindInterface(7)->operUp);
    // A frame on it still goes through the receive rules (counted, ignored
    // while the link is down) and never crashes.
    const std::vector<uint8_t> one = Pdu(1, "eth0");
    EXPECT_TRUE(sw_->ReceiveFrame(8, BuildFrame(AgentGroupMac(1), kPeer, one.data(), one.size())));
    EXPECT_FALSE(sw_->ReceiveFrame(8, BuildFrame(kPeer, kPeer, one.data(), one.size())));
}

}  // namespace
