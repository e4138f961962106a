#include "vkcomm/control/trimble_port.h"

#include <algorithm>
#include <limits>

#include "vkcomm/control/command_carriers.h"
#include "vkcomm/frames/maker_frame.h"
#include "vkcomm/frames/send_hex.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr int kPieceDelay = 50;
constexpr int kAnnouncedDelay = 100;
constexpr std::size_t kNumberBytes = 6;

ByteSpan given(const unsigned char* data, long long length) {
    return data && length > 0 ? ByteSpan(data, static_cast<std::size_t>(length)) : ByteSpan();
}

bool isGiven(const unsigned char* data, long long length) { return length == 0 || (data && length > 0); }

int delayOf(unsigned long delay) {
    constexpr int kLongest = std::numeric_limits<int>::max();
    return delay > static_cast<unsigned long>(kLongest) ? kLongest : static_cast<int>(delay);
}

}  // namespace

int CTrimblePort::bOpenPort(MessageTarget* pOwner, unsigned int uPort, unsigned int uBaud) {
    return InitPort(pOwner, uPort, uBaud) && StartMonitoring();
}

int CTrimblePort::nSendSteps(const CommandSteps& steps) {
    int taken = 0;
    for (const CommandStep& step : steps) {
        if (WriteToPort(step.bytes.data(), static_cast<unsigned long>(step.bytes.size()), step.delay, 0, 1) ==
            0)
            break;
        ++taken;
        if (step.drain) bWaitWriteBufferEmpty();
        if (step.newRate && step.newRate->port == m_linePort) followTo(step.newRate->baud);
    }
    return taken;
}

// The receiver changes its rate when it has read the command, not when it has been sent.
int CTrimblePort::awaitRateChange() {
    const int isSent = bWaitWriteBufferEmpty();
    ClockInUse().sleep(300ms);
    return isSent;
}

void CTrimblePort::followTo(int baud) {
    if (awaitRateChange()) bChangeBaudrate(static_cast<unsigned int>(baud));
}

void CTrimblePort::vSendCommand(unsigned char uType, const unsigned char* pData, int nLength,
                                unsigned long ulDelay) {
    if (!isGiven(pData, nLength)) return;
    const ByteSpan data = given(pData, nLength);
    const TrimbleCommand command = {uType, Bytes(data.begin(), data.end()), {}, false};
    nSendSteps(trimbleSteps(m_receiverType, command, delayOf(ulDelay)));
}

unsigned char CTrimblePort::bteGetCheckSum(const unsigned char* pData, int nLength) {
    return sum8(given(pData, nLength));
}

int CTrimblePort::bCheckSum(const unsigned char* pPacket, int nLength) {
    return trimblePacketChecks(given(pPacket, nLength));
}

void CTrimblePort::vAdjustVarekCmd(GPSOEMTYPE eType, const std::wstring& strCommand,
                                   const unsigned char* pData, unsigned char* pOut, int& nLength) {
    const std::string letters = lowBytes(strCommand);
    const bool isUsable = letters.size() >= 2 && isGiven(pData, nLength);
    const ByteSpan data = given(pData, nLength);
    nLength = 0;
    if (!isUsable || !pOut) return;
    const std::vector<Bytes> frames = makerFrames(letters, eType, data);
    for (std::size_t i = 0; i + 1 < frames.size(); ++i) {
        sendBytes(frames[i], 0);
        bWaitWriteBufferEmpty();
    }
    std::copy(frames.back().begin(), frames.back().end(), pOut);
    nLength = static_cast<int>(frames.back().size());
}

void CTrimblePort::vSendVarekString(GPSOEMTYPE eType, const std::wstring& strText, int nDelay) {
    nSendSteps(makerText(eType, lowBytes(strText), nDelay));
}

int CTrimblePort::bSendVarekRZCmd(GPSOEMTYPE eType, const std::wstring& strText, int, int nDelay) {
    vSendVarekString(eType, strText, nDelay);
    return 1;
}

void CTrimblePort::vSendHexString(int nPort, const std::wstring& strBytes, int nDelay) {
    nSendSteps(plainText(sendHexLine(nPort, bytesOf(lowBytes(strBytes))), nDelay));
}

void CTrimblePort::vSendOwnCmd(unsigned char uId, unsigned short uWord, unsigned int uLength,
                               const unsigned char* pData) {
    if (isGiven(pData, uLength)) sendBytes(ownFrame(uId, uWord, given(pData, uLength)), 0);
}

void CTrimblePort::vMaskIntCmd(unsigned int uWord, int bRead, unsigned char uFirst, unsigned char uSecond) {
    constexpr unsigned char kMasks = 152;
    const unsigned char masks[] = {uSecond, uFirst};
    vSendOwnCmd(kMasks, static_cast<unsigned short>(uWord), bRead ? 0 : 2, masks);
}

void CTrimblePort::vSendTSIPCmd(const TsipPacket& packet, int nDelay) {
    sendBytes(tsipFrame(packet), nDelay);
}

void CTrimblePort::vSendCMCCMD(unsigned char uId, int bRepeated, int nLength, const unsigned char* pData,
                               int nDelay, GPSOEMTYPE eType) {
    if (isGiven(pData, nLength))
        nSendSteps(cmcSteps(eType, uId, bRepeated != 0, given(pData, nLength), nDelay));
}

std::string CTrimblePort::announcement() const {
    if (!m_settings) return {};
    return m_settings->bGetDifSource() ? "RQ,B4,B1" : "RQ,B4,B0";
}

void CTrimblePort::vSendVarekRMCmd(GPSOEMTYPE eType, unsigned char uValue, int nDelay) {
    nSendSteps(makerText(eType, announcement(), kAnnouncedDelay));
    nSendSteps(makerText(eType, "RM,B" + integerText(uValue), nDelay));
}

void CTrimblePort::vSendVarekRQCmd(GPSOEMTYPE eType, unsigned char uFirst, unsigned char uSecond,
                                   int nDelay) {
    nSendSteps(makerText(eType, "RQ,B" + integerText(uFirst) + ",B" + integerText(uSecond), nDelay));
}

void CTrimblePort::vSendVarekRKCmd(GPSOEMTYPE eType, unsigned char uValue, int nDelay) {
    if (m_settings) nSendSteps(makerText(eType, announcement(), kAnnouncedDelay));
    nSendSteps(makerText(eType, (m_rlFlag == 1 ? "RL,B" : "RK,B") + integerText(uValue), nDelay));
}

void CTrimblePort::sendPieces(const char* command, const std::wstring& text, GPSOEMTYPE type,
                              int delayBetween) {
    const std::string bytes = lowBytes(text);
    for (std::size_t at = 0; at < bytes.size(); at += kMakerPayload) {
        const bool isLast = bytes.size() - at <= kMakerPayload;
        nSendSteps(makerText(type, command + bytes.substr(at, kMakerPayload), isLast ? 0 : delayBetween));
    }
}

void CTrimblePort::vSendLandCmd(const std::wstring& strText, GPSOEMTYPE eType) {
    sendPieces("VL,S", strText, eType, 100);
}

void CTrimblePort::vSendGGAMsg(const std::wstring& strText, GPSOEMTYPE eType) {
    sendPieces("VF,S", strText, eType, 10);
}

void CTrimblePort::vSendBTVVStr(const std::wstring& strText) {
    constexpr std::size_t kPiece = 7;
    std::string text = lowBytes(strText);
    if (text.empty()) return;
    for (; text.size() > kPiece; text.erase(0, kPiece))
        nSendSteps(plainText("VVA" + text.substr(0, kPiece), 20));
    nSendSteps(plainText("VVB" + text, 0));
}

// One group, so that the writer drops the pieces together; the writer is woken when all are there.
void CTrimblePort::sendGroup(const std::vector<ByteSpan>& pieces) {
    if (pieces.empty()) return;
    m_group = std::max<std::uint32_t>(m_group + 1, kFirstGroup);
    for (const ByteSpan piece : pieces)
        AddToPort(piece.data(), static_cast<unsigned long>(piece.size()), kPieceDelay, m_group);
    vSetWriteEvent();
}

void CTrimblePort::vSendVDCmd(const unsigned char* pData, int nLength, GPSOEMTYPE eType) {
    if (nQueueDepth() != 0) return;
    const std::vector<Bytes> frames = correctionFrames(eType, given(pData, nLength));
    sendGroup({frames.begin(), frames.end()});
}

void CTrimblePort::vSendCorsData(const unsigned char* pData, int nLength, GPSOEMTYPE eType) {
    if (nQueueDepth() == 0 && eType == OEM_TYPE_13) sendGroup(makerPieces(given(pData, nLength)));
}

void CTrimblePort::vAddOneCmd(unsigned char uId, const std::wstring& strText, int& bReset) {
    if (bReset) m_pending.clear();
    bReset = 0;
    m_pending.push_back({uId, lowBytes(strText)});
}

int CTrimblePort::nSendECommandArray(int bUseVS, GPSOEMTYPE eType) {
    if (m_pending.empty()) return 0;
    const PendingCommand command = std::move(m_pending.front());
    m_pending.pop_front();
    const std::string line = std::string("%") + static_cast<char>(command.id) + ' ' + command.text + "\r\n";
    nSendSteps(bUseVS ? makerText(eType, "VS,S" + line, 0) : plainText(line, 0));
    return nPendingCommands();
}

std::wstring CTrimblePort::strGetNum(const unsigned char* pBytes) {
    return strGetNum(given(pBytes, kNumberBytes));
}

std::wstring CTrimblePort::strGetNum(ByteSpan bytes) {
    constexpr std::size_t kDigits = 2 * kNumberBytes - 1;
    if (bytes.size() < kNumberBytes) return {};
    std::string number;
    for (std::size_t i = 0; i < kDigits; ++i)
        number += integerText(bytes[i / 2] >> (4 * (i % 2)) & 0x0F);
    return {number.begin(), number.end()};
}

void CTrimblePort::sendBytes(const Bytes& bytes, int delay) {
    if (!bytes.empty()) WriteToPort(bytes.data(), static_cast<unsigned long>(bytes.size()), delay, 0, 1);
}

}  // namespace vkcomm
