#include "sim/recording.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "sim/cmc_encoder.h"
#include "sim/cmc_messages.h"
#include "sim/csi_encoder.h"
#include "sim/csi_messages.h"
#include "sim/javad_encoder.h"
#include "sim/javad_messages.h"
#include "sim/maker_encoder.h"
#include "sim/nmea_encoder.h"
#include "sim/oem4_encoder.h"
#include "sim/oem4_log.h"
#include "sim/oem4_server_encoder.h"
#include "sim/trimble_encoder.h"
#include "sim/trimble_packets.h"

namespace vkcomm::sim {

namespace {

constexpr std::array<Family, 8> kFamilies{{
    {"nmea", "NMEA 0183 sentences: GGA, GSA, GSV, RMC, GST, ZDA, VTG", nullptr, encodeNmea, &kNmeaFraming},
    {"oem4", "NovAtel OEM4 binary logs: VERSION, BESTPOS, BESTVEL, PSRDOP, RANGECMP, SATVIS, RAWEPHEM",
     encodeOem4Start, encodeOem4, &kOem4Framing},
    {"oem4-server", "NovAtel reference station: OEM4 messages 912, 913, 915", nullptr, encodeOem4Server,
     &kOem4Framing},
    {"trimble", "Trimble packets: GENOUT with GSOF records, RECSTAT1, RETOPT, RETSVDATA, RETSERIAL, BREAKRET",
     encodeTrimbleStart, encodeTrimble, &kTrimbleFraming},
    {"javad", "Javad GREIS messages: times, position, velocity, sigmas, dilutions, satellites",
     encodeJavadStart, encodeJavad, &kJavadFraming},
    {"cmc", "CMC Allstar messages 20, 30, 33, 45, 49, 75", encodeCmcStart, encodeCmc, &kCmcFraming},
    {"csi", "CSI and Hemisphere: $BIN 1, 2, 96, 99, JSHOW reply", encodeCsiStart, encodeCsi, &kCsiFraming},
    {"maker", "the maker's receiver: a Trimble board's packets in $$ frames, SI replies", encodeMakerStart,
     encodeMaker, &kMakerFraming},
}};

std::string familyNames() {
    std::string names;
    for (const Family& family : kFamilies) {
        if (!names.empty()) names += ", ";
        names += family.name;
    }
    return names;
}

}  // namespace

std::span<const Family> families() { return kFamilies; }

const Family* findFamily(std::string_view name) {
    const auto found = std::ranges::find(kFamilies, name, &Family::name);
    return found == kFamilies.end() ? nullptr : &*found;
}

std::string problemWith(const RecordingOptions& options) {
    if (!findFamily(options.family))
        return "unknown family '" + options.family + "'; known families: " + familyNames();
    if (options.seconds < 1 || options.seconds > 10'000'000) return "seconds must be from 1 to 10000000";
    // Negated, so that not-a-number is refused too.
    if (!(options.rateHz >= 0.001 && options.rateHz <= 1000.0))
        return "the rate must be from 0.001 to 1000 Hz";
    if (!(options.damagePercent >= 0.0 && options.damagePercent <= 100.0))
        return "the damage must be from 0 to 100 percent";
    return {};
}

RecordingWriter::RecordingWriter(const RecordingOptions& options)
    : m_family(*findFamily(options.family)), m_truth({.seed = options.seed}),
      m_damager(*m_family.framing, options.damagePercent, ~options.seed), m_rateHz(options.rateHz),
      m_epochs(std::max<std::int64_t>(1, std::llround(options.seconds * options.rateHz))) {}

bool RecordingWriter::next(Piece& piece) {
    constexpr std::size_t kFramesAPiece = 32;
    piece.truncate(0, 0);
    if (m_done == m_epochs) return false;
    do
        addEpoch(piece);
    while (m_done != m_epochs && piece.frames.size() < kFramesAPiece);
    m_damager.damage(piece, m_done == m_epochs);
    return true;
}

void RecordingWriter::addEpoch(Piece& piece) {
    const Epoch epoch = m_truth.at(std::llround(static_cast<double>(m_done) * 1000.0 / m_rateHz));
    if (m_done == 0 && m_family.encodeStart) m_family.encodeStart(epoch, piece);
    m_family.encodeEpoch(epoch, piece);
    ++m_done;
}

Piece makeRecording(const RecordingOptions& options) {
    Piece recording;
    Piece piece;
    for (RecordingWriter writer(options); writer.next(piece);) {
        for (Frame frame : piece.frames) {
            frame.offset += recording.bytes.size();
            recording.frames.push_back(frame);
        }
        recording.addBytes(piece.bytes);
    }
    return recording;
}

}  // namespace vkcomm::sim
