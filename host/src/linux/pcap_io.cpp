// Captures: LLDP frames written to and read from pcap files with libpcap.
#include <pcap/pcap.h>
#include <sys/time.h>

#include <cstring>

#include "lldpv2host/live.h"

namespace lldpv2host::live {

namespace {

uint64_t EpochMicros() {
    timeval tv{};
    gettimeofday(&tv, nullptr);
    return static_cast<uint64_t>(tv.tv_sec) * 1000000u + static_cast<uint64_t>(tv.tv_usec);
}

}  // namespace

std::unique_ptr<PcapWriter> PcapWriter::Open(const std::string &path, std::string *error) {
    pcap_t *p = pcap_open_dead(DLT_EN10MB, 65535);
    if (p == nullptr) {
        if (error) *error = "pcap: cannot create a capture handle";
        return nullptr;
    }
    pcap_dumper_t *d = pcap_dump_open(p, path.c_str());
    if (d == nullptr) {
        if (error) *error = path + ": " + pcap_geterr(p);
        pcap_close(p);
        return nullptr;
    }
    std::unique_ptr<PcapWriter> w(new PcapWriter);
    w->pcap_ = p;
    w->dumper_ = d;
    // The file header is on disk before the first frame, for live readers.
    pcap_dump_flush(d);
    return w;
}

PcapWriter::~PcapWriter() {
    if (dumper_ != nullptr) pcap_dump_close(static_cast<pcap_dumper_t *>(dumper_));
    if (pcap_ != nullptr) pcap_close(static_cast<pcap_t *>(pcap_));
}

void PcapWriter::Write(const std::vector<uint8_t> &frame, uint64_t epochMicros) {
    if (epochMicros == 0) epochMicros = EpochMicros();
    pcap_pkthdr h{};
    h.ts.tv_sec = static_cast<time_t>(epochMicros / 1000000u);
    h.ts.tv_usec = static_cast<suseconds_t>(epochMicros % 1000000u);
    h.caplen = static_cast<bpf_u_int32>(frame.size());
    h.len = static_cast<bpf_u_int32>(frame.size());
    auto *d = static_cast<pcap_dumper_t *>(dumper_);
    pcap_dump(reinterpret_cast<u_char *>(d), &h, frame.data());
    pcap_dump_flush(d);
}

bool ReadCapture(const std::string &path, std::vector<CapturedFrame> &frames, std::string *error,
                 std::string *warning) {
    char errbuf[PCAP_ERRBUF_SIZE] = {};
    // Microsecond timestamps whatever the file's own precision.
    pcap_t *p = pcap_open_offline_with_tstamp_precision(path.c_str(), PCAP_TSTAMP_PRECISION_MICRO, errbuf);
    if (p == nullptr) {
        // libpcap names the file itself when it cannot open it.
        const std::string why = errbuf;
        if (error) *error = why.rfind(path + ":", 0) == 0 ? why : path + ": " + why;
        return false;
    }
    if (pcap_datalink(p) != DLT_EN10MB) {
        if (error) *error = path + ": not a capture of Ethernet frames";
        pcap_close(p);
        return false;
    }
    frames.clear();
    for (;;) {
        pcap_pkthdr *h = nullptr;
        const u_char *data = nullptr;
        const int rc = pcap_next_ex(p, &h, &data);
        if (rc == 1) {
            CapturedFrame f;
            f.micros = static_cast<uint64_t>(h->ts.tv_sec) * 1000000u + static_cast<uint64_t>(h->ts.tv_usec);
            f.bytes.assign(data, data + h->caplen);
            frames.push_back(std::move(f));
            continue;
        }
        if (rc == PCAP_ERROR_BREAK) break;
        // A record cut short ends the file; what came before it is whole.
        if (warning) {
            *warning = path + ": " + pcap_geterr(p) + "; using the " + std::to_string(frames.size()) +
                       " complete frames before it";
        }
        break;
    }
    pcap_close(p);
    return true;
}

}  // namespace lldpv2host::live
