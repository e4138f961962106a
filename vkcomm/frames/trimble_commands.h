// Commands of the Trimble data-collector protocol: queries, reset, and the application files (type 64h) that
// set outputs, ports and masks. The bytes are the body of a packet; trimblePacket puts the frame around them.
//
// An application file is a file control block and records. Its control block ends with a flag that lets the
// receiver take its factory defaults before the records. Deliberate: the files of GSOF output carry it, so that a
// receiver so set up has no outputs left from before.
//
// Arguments are written as their low bytes, unchecked. Multi-byte numbers are big-endian. Pure functions; any
// thread.
#pragma once

#include <optional>
#include <string>

#include "vkcomm/frames/frame_bytes.h"
#include "vkcomm/frames/receiver_type.h"

namespace vkcomm {

inline constexpr unsigned char kApplicationFile = 0x64;

struct TrimbleCommand {
    unsigned char type = 0;
    Bytes data;
    std::string what;           // for people
    bool factoryReset = false;  // the receiver loses its settings
};

VKCOMM_API TrimbleCommand serialQuery();
VKCOMM_API TrimbleCommand statusQuery();
VKCOMM_API TrimbleCommand optionQuery();
VKCOMM_API TrimbleCommand breakQuery();
VKCOMM_API TrimbleCommand fileListQuery();

// What the receiver knows of a satellite by its PRN. data is 0 for the flags of all satellites, 1 ephemeris,
// 2 almanac, 3 ionosphere and UTC. 4 and 5 are no questions: they disable and enable the satellite.
VKCOMM_API TrimbleCommand satelliteQuery(unsigned char data, unsigned char satellite);

// An application file by its index in the receiver's list.
VKCOMM_API TrimbleCommand fileQuery(short file);

VKCOMM_API TrimbleCommand receiverReset();

// Measurements once: type 0 for satellite data, 1 for a position. Of type 0 flag bit 0 asks for the concise form,
// bit 1 for the enhanced one.
VKCOMM_API TrimbleCommand rawQuery(unsigned char type, unsigned char flags);

// GSOF records 1, 3, 6, 9, 12 and 14 on a port. Rates 1 to 13 are the receiver's frequency codes (3 is once a
// second); others give nothing.
VKCOMM_API std::optional<TrimbleCommand> gsofOutput(int port, GPSOEMTYPE type, int rate);

// Baud in bits per second; one that has no code is sent as code 0, the receiver's default.
VKCOMM_API TrimbleCommand portBaud(int port, int baud, GPSOEMTYPE type);

// All output of a port off.
VKCOMM_API TrimbleCommand portSilence(int port, GPSOEMTYPE type);

// Elevation mask in degrees and PDOP mask.
VKCOMM_API TrimbleCommand positionMasks(unsigned char elevation, unsigned char pdop, GPSOEMTYPE type);

// Raw data on a port at a frequency code; code 0 switches it off.
VKCOMM_API TrimbleCommand rawOutput(GPSOEMTYPE type, int port, unsigned char rate);

// Records of application files, and what their output records put out, by the published numbers.
enum FileRecord : unsigned char {
    kGeneralControlsRecord = 0x01,
    kSerialPortRecord = 0x02,
    kReferencePositionRecord = 0x03,
    kOutputRecord = 0x07,
    kMotionRecord = 0x0A,
};

enum FileOutput : unsigned char {
    kCmrOutput = 0x02,
    kRtcmOutput = 0x03,
    kRawOutput = 0x04,
    kGsofOutput = 0x0A,
    kEveryOutput = 0xFF,
};

// The records of an application file, in order.
class VKCOMM_API ApplicationFile {
public:
    enum class Before { kKeepSettings, kFactoryDefaults };

    explicit ApplicationFile(GPSOEMTYPE type, Before before = Before::kKeepSettings);

    // Content of at most 255 bytes; the length byte is put before it.
    ApplicationFile& record(FileRecord type, ByteSpan content);

    ApplicationFile& generalControls(unsigned char elevation, unsigned char pdop);
    ApplicationFile& serialPort(unsigned char port, unsigned char baudCode, unsigned char parity,
                                unsigned char flowControl);
    // The detail is the kind of CMR, the message flags of RTCM and raw data, or the GSOF record. The record has the
    // length of the longest output: receivers ignore bytes beyond those they know.
    ApplicationFile& output(FileOutput output, unsigned char port, unsigned char frequency,
                            unsigned char detail);
    ApplicationFile& portSilence(unsigned char port);

    TrimbleCommand command(std::string what) const;

private:
    bool m_older;
    bool m_factoryDefaults;
    Bytes m_body;
};

// The baud code of serial-port records: of a rate in bits per second, or of an index 0 to 9 into kBaudRates.
// 0 for others.
VKCOMM_API unsigned char baudCodeOfRate(int baud);
VKCOMM_API unsigned char baudCodeOfIndex(int index);

}  // namespace vkcomm
