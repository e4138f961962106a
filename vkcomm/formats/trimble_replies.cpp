#include "vkcomm/formats/trimble_replies.h"

#include <span>
#include <string_view>

#include "vkcomm/formats/reply_text.h"

namespace vkcomm {

namespace {

ByteSpan bytesOf(std::string_view text) {
    return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

std::string_view behindFirstComma(std::string_view segment) { return segment.substr(segment.find(',') + 1); }

// The texts between the commas of segment, its label left out; the last of fields takes the rest. Fields for
// which there is no comma become empty.
void splitSegment(const std::wstring& segment, std::span<std::wstring> fields) {
    std::size_t comma = segment.find(L',');
    for (std::wstring& field : fields) {
        field.clear();
        if (comma == segment.npos) continue;
        const std::size_t first = comma + 1;
        comma = &field == &fields.back() ? segment.npos : segment.find(L',', first);
        field = segment.substr(first, comma == segment.npos ? comma : comma - first);
    }
}

struct SerialColumn {
    std::size_t width;
    std::wstring TrimbleSerialReply::*field;
};

constexpr std::size_t kShortestSerialReply = 45;
constexpr SerialColumn kSerialColumns[] = {
    {8, &TrimbleSerialReply::serial},
    {8, &TrimbleSerialReply::receiverType},
    {5, &TrimbleSerialReply::navigationVersion},
    {5, &TrimbleSerialReply::signalVersion},
    {5, &TrimbleSerialReply::bootVersion},
    {8, &TrimbleSerialReply::antennaSerial},
    {2, &TrimbleSerialReply::antennaType},
    {2, &TrimbleSerialReply::channels},
    {2, &TrimbleSerialReply::channelsL1},
    {10, &TrimbleSerialReply::longSerial},
    {31, &TrimbleSerialReply::localAntennaSerial},
    {31, &TrimbleSerialReply::baseAntennaSerial},
    {31, &TrimbleSerialReply::antennaDescriptor},
};

std::wstring columnText(ByteSpan column) {
    const std::string_view text = recordText(column);
    return widened(text.substr(0, text.find_last_not_of(' ') + 1));
}

}  // namespace

int CTrimBreakRet::bParse(const char* text) { return bParse(bytesOf(terminatedText(text))); }

int CTrimBreakRet::bParse(ByteSpan text) {
    std::string_view rest = recordText(text);
    m_reply.identity = widened(behindFirstComma(takeUntil(rest, ';')));
    vProcessBreakPort(widened(takeUntil(rest, ';')));
    vProcessBreakVersion(widened(takeUntil(rest, ';')));
    takeUntil(rest, ';');
    m_reply.secondIdentity = widened(behindFirstComma(takeUntil(rest, ';')));
    return 1;
}

void CTrimBreakRet::vProcessBreakPort(const std::wstring& segment) {
    splitSegment(segment, m_reply.port);
    // deliberate: see TrimbleBreakReply::port
    if (std::wstring& number = m_reply.port.front(); !number.empty()) ++number.back();
}

void CTrimBreakRet::vProcessBreakVersion(const std::wstring& segment) {
    splitSegment(segment, m_reply.version);
}

int CTrimRSerial::bParse(const char* text) { return bParse(bytesOf(terminatedText(text))); }

int CTrimRSerial::bParse(ByteSpan data) {
    if (data.size() < kShortestSerialReply) return 0;
    for (const SerialColumn& column : kSerialColumns) {
        const bool isSent = column.width <= data.size();
        m_reply.*column.field = isSent ? columnText(data.first(column.width)) : std::wstring();
        data = data.subspan(isSent ? column.width : data.size());
    }
    return 1;
}

}  // namespace vkcomm
