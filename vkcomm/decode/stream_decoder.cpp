#include "vkcomm/decode/stream_decoder.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "vkcomm/util/checksums.h"

namespace vkcomm {

namespace {

constexpr std::chrono::milliseconds kRadioPause{3000};

}  // namespace

struct CNOut::Lead {
    std::uint32_t maskBits = 0;  // any one of them enables the handler; 0: always enabled
    Handler handler = nullptr;   // null: the byte starts nothing
};

constinit const std::array<CNOut::Lead, 256> CNOut::kLeads = [] {
    struct Row {
        unsigned char lead;
        Lead entry;
    };
    constexpr Row kRows[] = {
        {0x01, {kDecodeCmc, &CNOut::bProcress01}},
        {0x02, {kDecodeTrimble, &CNOut::bProcress02}},
        {'\n', {kDecodeStatusText, &CNOut::bProcress0A}},
        {'\r', {kDecodeStatusText, &CNOut::bProcress0D}},
        {0x10, {kDecodeTsip, &CNOut::bProcress10}},
        {'#', {kDecodeOem4Ascii, &CNOut::bProcress23}},
        {'$', {kDecodeSentence | kDecodeMaker | kDecodeHemisphere, &CNOut::bProcress24}},
        {'%', {kDecodePercent, &CNOut::bProcress25}},
        {'<', {kDecodeReply, &CNOut::bProcress3C}},
        {'@', {kDecodeAt, &CNOut::bProcress40}},
        {'C', {kDecodePortBanner | kDecodeModem, &CNOut::bProcress43}},
        {'F', {kDecodeStatusText, &CNOut::bProcress46}},
        {'I', {kDecodeStatusText, &CNOut::bProcress49}},
        {'N', {kDecodeStatusText, &CNOut::bProcress4E}},
        {'O', {kDecodeModem, &CNOut::bProcress4F}},
        {'[', {kDecodePortBanner, &CNOut::bProcress5B}},
        {'~', {kDecodeModem, &CNOut::bProcress7E}},
        {0xAA, {0, &CNOut::bProcesssAA}},
        {0xF1, {kDecodeRadio, &CNOut::bProcressF1}},
        {0xF2, {kDecodeRadio, &CNOut::bProcressF2}},
        {0xF5, {kDecodeRadio, &CNOut::bProcressF5}},
        {0xFF, {kDecodeRadio, &CNOut::bProcressFF}},
    };
    std::array<Lead, 256> leads{};
    for (const Row& row : kRows)
        leads[row.lead] = row.entry;
    return leads;
}();

// inline, here and in text_frames.cpp: within an exported class the compiler merges no other calls.

// Non-zero ends the scan with the result in m_lastRead; zero leaves the cursor behind the lead.
inline int CNOut::handleLead(unsigned char lead) {
    m_record[0] = lead;
    m_buffer.ReSync(1);
    const Lead& entry = kLeads[lead];
    if (!entry.handler || (entry.maskBits != 0 && !isEnabled(entry.maskBits))) return 0;
    return (this->*entry.handler)();
}

inline CNOutUnknown::RETURN CNOut::readRecord() {
    m_id = 0;
    m_type = LOG_NONE;
    for (;;) {
        beginFrame();
        if (!have(1))
            incomplete();
        else if (!handleLead(frame()[0])) {
            ++m_dropped;
            continue;
        }
        if (m_lastRead == RETURN_INCOMPLETE) awaitArrival();
        return m_lastRead;
    }
}

CNOutUnknown::RETURN CNOut::readNow() {
    RETURN result;
    {
        const std::scoped_lock lock(m_lock);
        result = readRecord();
    }
    if (m_pauseDue) {
        m_pauseDue = false;
        m_clock->sleep(kRadioPause);
    }
    return result;
}

CNOutUnknown::RETURN CNOut::ReadRest() {
    for (;;) {
        if (Read() == RETURN_COMPLETE) return RETURN_COMPLETE;
        if (!bSkipLead()) return RETURN_INCOMPLETE;
    }
}

int CNOut::bSkipLead() {
    const std::scoped_lock lock(m_lock);
    if (m_lastRead != RETURN_INCOMPLETE || m_buffer.frame().empty()) return 0;
    m_buffer.ReSync(1);
    m_lastRead = RETURN_COMPLETE;
    ++m_dropped;
    wake();
    return 1;
}

DecoderCounters CNOut::Counters() const {
    const std::scoped_lock lock(m_lock);
    DecoderCounters counters = m_counters;
    counters.received = m_received;
    counters.dropped = m_dropped;
    return counters;
}

unsigned int CNOut::uCheckSum(const unsigned char* data, int len) {
    return data && len > 0 ? sum8({data, static_cast<std::size_t>(len)}) : 0u;
}

int CNOut::bCheckSumForHemisphere(const unsigned char* frame, int len) {
    constexpr int kSmallestFrame = 12;
    if (!frame || len < kSmallestFrame || frame[len - 2] != '\r' || frame[len - 1] != '\n') return 0;
    const ByteSpan summed(frame + 8, static_cast<std::size_t>(len - kSmallestFrame));
    return sum16(summed) == loadLe<std::uint16_t>(frame + len - 4);
}

int CNOut::incomplete() {
    m_buffer.Sync();
    m_lastRead = RETURN_INCOMPLETE;
    return 1;
}

int CNOut::reject(LOG_TYPE family) {
    m_buffer.ReSync(1);
    ++m_counters.rejected[family];
    return 0;
}

void CNOut::store(int size) {
    std::memcpy(m_record, frame().data(), static_cast<std::size_t>(size));
    if (size < kRecordSize) m_record[size] = 0;
    m_size = size;
}

int CNOut::accept(int consumed) {
    m_buffer.ReSync(consumed);
    m_recordBytes = m_size;
    m_recordConsumed = consumed;
    m_recordOffset = m_received - frame().size();
    m_acceptedSize = m_size;
    m_acceptedSecond = m_record[1];
    ++m_counters.records[m_type];
    m_lastRead = RETURN_COMPLETE;
    return 1;
}

int CNOut::accept(LOG_TYPE type, unsigned int id, int size) {
    store(size);
    m_type = type;
    m_id = id;
    return accept(size);
}

int CNOut::acceptUnsized(LOG_TYPE type, unsigned int id, int consumed) {
    m_record[1] = m_acceptedSecond;
    store(consumed);
    m_size = m_acceptedSize;
    m_type = type;
    m_id = id;
    accept(consumed);
    m_recordBytes = consumed;
    return 1;
}

}  // namespace vkcomm
