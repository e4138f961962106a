// The receiver-control port: every command that the library can give a receiver, as an operation.
//
// The bytes are built by the pure functions of frames/ and of the sequences in this folder; the port queues them and
// returns. Nothing waits for a reply and nothing reports: writes to a port whose writer does not run are dropped.
// Who wants to see the bytes first, or to know what was taken, builds the steps and hands them to nSendSteps.
//
// A dialect is the type of the receiver the command is meant for. Texts become bytes by the low 8 bits of their
// characters. Null data with a length above 0, negative lengths and data that a frame cannot hold send nothing.
// Delays are milliseconds that the writer waits behind the bytes.
//
// One thread at a time; see CSerialPort for the threads of a port. Records given by pointer stay the caller's.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "vkcomm/control/command_step.h"
#include "vkcomm/datum/geodetic.h"
#include "vkcomm/export.h"
#include "vkcomm/frames/board_frames.h"
#include "vkcomm/frames/receiver_type.h"
#include "vkcomm/frames/trimble_commands.h"
#include "vkcomm/ports/my_serial_port.h"
#include "vkcomm/settings/base_config.h"
#include "vkcomm/settings/rover_config.h"

namespace vkcomm {

class VKCOMM_API CTrimblePort : public CMySerialPort {
public:
    // InitPort, then StartMonitoring.
    int bOpenPort(MessageTarget* pOwner, unsigned int uPort, unsigned int uBaud);

    // Queues steps in order and waits where they say so. How many the port took: fewer than given when it closed
    // in between; the first that was not taken ends the sequence.
    int nSendSteps(const CommandSteps& steps);

    // --- What the port knows of its receiver

    // OEM_NONE at first. Types 15 and 16 get every Trimble packet in the maker's frames.
    void vSetReceiverType(GPSOEMTYPE eType) { m_receiverType = eType; }

    GPSOEMTYPE eReceiverType() const { return m_receiverType; }

    // Whose differential source flag is announced before the RM and RK commands; null, as at first: none. Must
    // outlive its use here.
    void vSetSettings(const CRoverConfig* pSettings) { m_settings = pSettings; }

    // 1: vSendVarekRKCmd sends RL; 0, as at first: RK.
    void vSetRLFlag(unsigned char uFlag) { m_rlFlag = uFlag; }

    // Command-set generation of a NovAtel board, 1 or 2; 0, as at first: not known, RTCM 3 is not switched on.
    void vSetOEMCmdSet(int nCmdSet) { m_cmdSet = nCmdSet; }

    int nOEMCmdSet() const { return m_cmdSet; }

    // The ionosphere a NovAtel rover is told of, with command set 2 only: 0 quiet, as at first, 1 normal,
    // 2 disturbed; other values: it is told nothing.
    void vSetIonosphere(int nCondition) { m_ionosphere = nCondition; }

    // Which of the receiver's own ports this line ends at, counted from 1 (com1, port a); 0, as at first: not known.
    // When a step sets the rate of that port, nSendSteps waits until it is sent and follows; else it keeps the rate.
    void vSetLinePort(int nPort) { m_linePort = nPort; }

    // 1 once the port has taken the first step of a NovAtel base setup, all of it.
    int bBaseFixed() const { return m_baseFixed; }

    // 1 behind a NovAtel rover setup, 0 behind the second step of a base setup; also when the port has not taken them,
    // which nSendSteps would tell.
    int bRoverMode() const { return m_roverMode; }

    // --- Frames

    // A Trimble packet of at most 255 data bytes.
    void vSendCommand(unsigned char uType, const unsigned char* pData, int nLength, unsigned long ulDelay);
    // The sum of the bytes modulo 256.
    static unsigned char bteGetCheckSum(const unsigned char* pData, int nLength);
    // 1 when the sum of a packet's bytes 1 to nLength - 3 is the last but one; 0 below three bytes.
    static int bCheckSum(const unsigned char* pPacket, int nLength);

    // Wraps bytes for the board in the maker's frame. Up to 55 become one frame in pOut. Of more the full pieces
    // are framed and sent at once, each waited for, and pOut gets the frame of what is left, which may be empty;
    // the caller sends it. pOut must have room for 64 bytes; nLength is the number of bytes, then that of the
    // frame; 0, and nothing is sent, for a command of fewer than two letters, no data to the length, or no pOut.
    void vAdjustVarekCmd(GPSOEMTYPE eType, const std::wstring& strCommand, const unsigned char* pData,
                         unsigned char* pOut, int& nLength);

    // A text compiled into the maker's frame (see frames/text_compiler.h); to types 1 to 3 through a NovAtel
    // pass-through line. A delay of 0 or less is 50.
    void vSendVarekString(GPSOEMTYPE eType, const std::wstring& strText, int nDelay = 0);
    // The same, for "RZ" texts. Deliberate: nUnused changes nothing and the result is always 1, as hosts know it.
    int bSendVarekRZCmd(GPSOEMTYPE eType, const std::wstring& strText, int nUnused, int nDelay);

    // NovAtel's SENDHEX line: the receiver writes the bytes to its port.
    void vSendHexString(int nPort, const std::wstring& strBytes, int nDelay);

    // The maker's '@' block.
    void vSendOwnCmd(unsigned char uId, unsigned short uWord, unsigned int uLength,
                     const unsigned char* pData);
    // Sets the masks of a maker's receiver: '@' block 152 with the low 16 bits of the word and two bytes, the
    // second argument's first; with bRead asks for them.
    void vMaskIntCmd(unsigned int uWord, int bRead, unsigned char uFirst, unsigned char uSecond);

    void vSendTSIPCmd(const TsipPacket& packet, int nDelay);

    // A CMC message of at most 255 data bytes, for types 2, 11 and 12. bRepeated sets bit 7 of the id.
    void vSendCMCCMD(unsigned char uId, int bRepeated, int nLength, const unsigned char* pData, int nDelay,
                     GPSOEMTYPE eType);

    // --- The maker's commands

    // RM, announced by an RQ line of the attached settings 100 ms before. Deliberate: without settings an empty
    // text is compiled and sent in its place, which RK does not do; receivers in the field are driven so.
    void vSendVarekRMCmd(GPSOEMTYPE eType, unsigned char uValue, int nDelay);
    void vSendVarekRQCmd(GPSOEMTYPE eType, unsigned char uFirst, unsigned char uSecond, int nDelay);
    // RK, or RL by the flag, announced when settings are attached.
    void vSendVarekRKCmd(GPSOEMTYPE eType, unsigned char uValue, int nDelay);

    // Texts for the maker's modem: VL and VF in pieces of at most 55 characters. Deliberate: VL pieces are 100 ms
    // apart, VF pieces 10. An empty text sends nothing.
    void vSendLandCmd(const std::wstring& strText, GPSOEMTYPE eType);
    void vSendGGAMsg(const std::wstring& strText, GPSOEMTYPE eType);
    // Plain text: "VVA" and seven characters while eight or more are left, "VVB" and the rest. An empty text sends
    // nothing.
    void vSendBTVVStr(const std::wstring& strText);

    // Corrections, in pieces of 55 bytes and 50 ms, all one group, to a port whose queue is empty; else they are
    // dropped. More than 20 pieces, 1100 bytes, are dropped by the writer. VD frames (RZ for types 11 and 12) for
    // every type; unframed for type 13 and for no other.
    void vSendVDCmd(const unsigned char* pData, int nLength, GPSOEMTYPE eType);
    void vSendCorsData(const unsigned char* pData, int nLength, GPSOEMTYPE eType);

    // Commands that wait to be asked for one by one. A reset flag that is set empties the list and is cleared.
    void vAddOneCmd(unsigned char uId, const std::wstring& strText, int& bReset);
    // Sends the first as "%<id> <text>", with bUseVS inside a VS text, and takes it off the list. How many are
    // left.
    int nSendECommandArray(int bUseVS, GPSOEMTYPE eType);

    int nPendingCommands() const { return static_cast<int>(m_pending.size()); }

    // Eleven digits from six bytes, of each the low half first; a half above 9 prints as two digits. Of a pointer
    // six bytes must be readable; null and a shorter span give no digits.
    static std::wstring strGetNum(ByteSpan bytes);
    static std::wstring strGetNum(const unsigned char* pBytes);

    // --- Questions to a Trimble receiver

    void vGetSerial();
    void vGetStat1();
    void vGetOpt();
    // Not a question when uData is 4 or 5: the satellite is disabled or enabled (see satelliteQuery).
    void vGetSVData(unsigned char uData, unsigned char uSatellite);
    void vGetBreakInfo();
    void vGetAFDir();
    void vGetAppFile(short nFile);
    // Deliberate: sends what vGetAppFile sends (65h), and not the packet that activates a file (6Dh); hosts know it so.
    void vActAppFile(short nFile);
    // Not a question: the receiver goes back to its factory defaults.
    void vResetTBGPS();

    // --- Base and rover; see base_sequences.h and rover_sequences.h. A null record sends nothing.

    // By the type: Trimble, NovAtel (the first step) or CMC; others get nothing. strName is the station name of a
    // Trimble base. A record for types 15 and 16 is changed: port 1, baud index 7.
    void vSetBaseStation(CBaseConfig* pConfig, const BLH& position, const std::wstring& strName,
                         GPSOEMTYPE eType);
    void vSetBaseStationNovatel1(GPSOEMTYPE eType, const CBaseConfig* pConfig);
    void vSetBaseStationTrimble(CBaseConfig* pConfig, const BLH& position, const std::wstring& strName,
                                GPSOEMTYPE eType);
    void vSetBaseStationJavad(const CBaseConfigJavad* pConfig, const BLH& position);
    void vSetBaseStationCMC(const BLH& position);
    // NovAtel and Trimble types; others get nothing.
    void vSetRoverStation(const CRoverConfig* pConfig, GPSOEMTYPE eType);
    void vSetRoverStationJavad(const CRoverConfigJavad* pConfig);
    // A line with its CR LF to a NovAtel board; other types get nothing.
    void vSendNOEM4Cmd(const std::wstring& strLine, GPSOEMTYPE eType, int nDelay);

    // --- Outputs, ports and masks

    // GSOF records on a receiver port, once a second or at a frequency code 1 to 13; other codes send nothing. The
    // receiver takes its factory defaults first.
    void vOutputGSOFInfo(int nPort, GPSOEMTYPE eType);
    void vOutputGSOFInfo_HZ(int nPort, GPSOEMTYPE eType, int nRate);
    // Bits per second; a rate the receiver has no code for sets its default.
    void vSetPortBaud(int nPort, int nBaud, GPSOEMTYPE eType);
    void vUnlogallPort(int nPort, GPSOEMTYPE eType);
    void vSetMask(unsigned char uElevation, unsigned char uPDOP, GPSOEMTYPE eType);
    void vGetRaw(unsigned char uType, unsigned char uFlags);
    void vGetRaw(GPSOEMTYPE eType, int nPort, unsigned char uRate);

    // Thales receivers: NMEA output as the decoders expect it, on one port.
    void vInitThales(char cPort);
    // The rate of a receiver port, by index 0 to 9 of kBaudRates; with bLocal the port here follows, and listens at
    // the old rate before. Returns when the command has gone out and 300 ms have passed. Equal indices do nothing;
    // an index outside the table goes to the receiver, and the port here stays as it is.
    void vChangeThalesBaud(char cPort, int nOldBaud, int nNewBaud, int bLocal);
    // A sentence with its checksum and line end.
    void vWriteToPortNMEA(const std::wstring& strSentence);

private:
    struct PendingCommand {
        unsigned char id;
        std::string text;
    };

    void vSetBaseStationNovatel(GPSOEMTYPE eType, const CBaseConfig* pConfig, const BLH& position);

    int awaitRateChange();
    void followTo(int baud);
    void sendCommand(const TrimbleCommand& command);
    void sendBytes(const Bytes& bytes, int delay);
    void sendPieces(const char* command, const std::wstring& text, GPSOEMTYPE type, int delayBetween);
    void sendGroup(const std::vector<ByteSpan>& pieces);
    void setLocalBaud(int index);
    std::string announcement() const;

    GPSOEMTYPE m_receiverType = OEM_NONE;
    const CRoverConfig* m_settings = nullptr;
    unsigned char m_rlFlag = 0;
    int m_cmdSet = 0;
    int m_ionosphere = 0;
    int m_linePort = 0;
    int m_baseFixed = 0;
    int m_roverMode = 0;
    std::uint32_t m_group = kFirstGroup;
    std::deque<PendingCommand> m_pending;
};

}  // namespace vkcomm
