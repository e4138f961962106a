// Two text replies of Trimble receivers: the answer to a serial break, and the serial-number packet.
//
// Texts are bytes, widened one to one. Nothing fails loudly: what a short reply lacks is empty. Not locked:
// one thread at a time. Copying copies everything.
#pragma once

#include <array>
#include <string>

#include "vkcomm/export.h"
#include "vkcomm/util/bytes.h"

namespace vkcomm {

struct TrimbleBreakReply {
    std::wstring identity;        // first segment, behind its first comma
    std::wstring secondIdentity;  // fifth segment, behind its first comma
    // Of the second segment, its label left out. The last character of the first one is raised by one
    // (deliberate: receivers number their ports from 0, hosts from 1).
    std::array<std::wstring, 7> port;
    std::array<std::wstring, 4> version;  // of the third segment, its label left out
};

// The reply to a break: segments that end in ';', each a label and values between commas. A segment without a
// comma is an identity as a whole, and has no port or version fields. The last field that a segment has
// reaches to its end, further commas included; fields beyond it are empty.
class VKCOMM_API CTrimBreakRet {
public:
    // Always 1. The pointer form reads to the terminating zero, at most 8192 bytes; null is an empty reply.
    // Each reply replaces all fields.
    int bParse(const char* text);
    int bParse(ByteSpan text);

    // One segment each, its label first.
    void vProcessBreakPort(const std::wstring& segment);
    void vProcessBreakVersion(const std::wstring& segment);

    const TrimbleBreakReply& Reply() const { return m_reply; }

private:
    TrimbleBreakReply m_reply;
};

// The serial-number packet (type 07h), trailing blanks removed. Receivers of the older generations stop after
// channelsL1; what they do not send is empty. The binary numbers of channels at its end are not taken.
struct TrimbleSerialReply {
    std::wstring serial;
    std::wstring receiverType;
    std::wstring navigationVersion;
    std::wstring signalVersion;
    std::wstring bootVersion;
    std::wstring antennaSerial;
    std::wstring antennaType;
    std::wstring channels;
    std::wstring channelsL1;
    std::wstring longSerial;
    std::wstring localAntennaSerial;
    std::wstring baseAntennaSerial;
    std::wstring antennaDescriptor;  // as the antenna tables of the NGS name it
};

// The packet's data are columns of fixed width, 45 bytes in nine columns at least.
class VKCOMM_API CTrimRSerial {
public:
    // Data of the packet (record byte 4 on). 1 when the reply was stored; with fewer than 45 bytes 0, and the
    // older reply stays. The pointer form reads to the terminating zero, at most 8192 bytes; null gives 0.
    int bParse(const char* text);
    int bParse(ByteSpan data);

    const TrimbleSerialReply& Reply() const { return m_reply; }

private:
    TrimbleSerialReply m_reply;
};

}  // namespace vkcomm
