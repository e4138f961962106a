#include "host/genout_reassembler.h"

#include <algorithm>

namespace vkcomm {

namespace {

constexpr std::size_t kPacketHead = 4;
constexpr std::size_t kPageHead = 3;
constexpr std::size_t kReportHead = 3;
constexpr std::size_t kRecordHead = 2;
constexpr unsigned char kSatelliteRecord = 14;

// The data of the packet; empty when it is shorter than it says.
ByteSpan dataOf(ByteSpan packet) {
    if (packet.size() < kPacketHead || packet.size() - kPacketHead < packet[3]) return {};
    return packet.subspan(kPacketHead, packet[3]);
}

bool countsItself(ByteSpan satelliteRecord) { return satelliteRecord[1] % 8 == 1; }

// The record at the front of records, all of them when it runs beyond the end. A satellite record whose
// length leaves out the byte that counts the satellites is one byte longer than it says.
ByteSpan firstRecord(ByteSpan records) {
    if (records.size() < kRecordHead) return records;
    const bool longer = records[0] == kSatelliteRecord && !countsItself(records);
    return records.first(std::min(records.size(), kRecordHead + records[1] + (longer ? 1 : 0)));
}

bool needsPad(ByteSpan record) {
    return record.size() > kRecordHead && record[0] == kSatelliteRecord && countsItself(record) &&
           record.size() == kRecordHead + record[1];
}

}  // namespace

bool GenoutReassembler::add(ByteSpan packet) {
    const ByteSpan data = dataOf(packet);
    if (data.size() < kPageHead) {
        ++m_lostPages;
        return false;
    }
    if (!continues(data[0], data[1], data[2])) giveUp();
    if (data[1] != m_pages || data[1] > data[2]) {
        ++m_lostPages;
        return false;
    }
    m_transmission = data[0];
    m_lastPage = data[2];
    m_records.insert(m_records.end(), data.begin() + kPageHead, data.end());
    if (m_pages++ < m_lastPage) return false;
    makeReport();
    m_pages = 0;
    m_records.clear();
    return true;
}

bool GenoutReassembler::continues(unsigned char transmission, unsigned char page, unsigned char last) const {
    return m_pages != 0 && transmission == m_transmission && page == m_pages && last == m_lastPage;
}

void GenoutReassembler::giveUp() {
    m_lostPages += m_pages;
    m_pages = 0;
    m_records.clear();
}

void GenoutReassembler::makeReport() {
    m_report.assign(kReportHead, 0);
    for (ByteSpan rest = m_records; !rest.empty();) {
        const ByteSpan record = firstRecord(rest);
        m_report.insert(m_report.end(), record.begin(), record.end());
        if (needsPad(record)) m_report.push_back(0);
        rest = rest.subspan(record.size());
    }
}

}  // namespace vkcomm
