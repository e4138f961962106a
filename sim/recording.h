// Recordings of simulated receivers, whole or piece by piece, damaged on request.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "sim/damage.h"
#include "sim/framing.h"
#include "sim/piece.h"
#include "sim/truth.h"

namespace vkcomm::sim {

// A receiver family that can be simulated; a further one is a further row.
struct Family {
    std::string_view name;     // as users give it
    std::string_view summary;  // one line for them
    // Appends what comes once, before the first epoch; may be null.
    void (*encodeStart)(const Epoch& epoch, Piece& piece);
    // Appends the frames of an epoch, at least one.
    void (*encodeEpoch)(const Epoch& epoch, Piece& piece);
    const Framing* framing;
};

std::span<const Family> families();

// The family of that name, or null.
const Family* findFamily(std::string_view name);

struct RecordingOptions {
    std::string family = "nmea";
    int seconds = 60;     // 1 to 10,000,000
    double rateHz = 1.0;  // epochs a second, 0.001 to 1000; times are in whole milliseconds
    std::uint64_t seed = 1;
    double damagePercent = 0.0;  // 0 to 100, of the frames
};

// What is wrong with the options, in a line for the user; empty when nothing is.
std::string problemWith(const RecordingOptions& options);

// Gives a recording in pieces of a few dozen frames, so that a long one needs little memory.
// Same options, same bytes.
class RecordingWriter {
public:
    // problemWith(options) must be empty.
    explicit RecordingWriter(const RecordingOptions& options);

    // Replaces piece by the next one, always of whole epochs; false and an empty piece at the end.
    bool next(Piece& piece);

private:
    void addEpoch(Piece& piece);

    const Family& m_family;
    Truth m_truth;
    Damager m_damager;
    double m_rateHz;
    std::int64_t m_epochs;
    std::int64_t m_done = 0;
};

// The whole recording in memory. problemWith(options) must be empty.
Piece makeRecording(const RecordingOptions& options);

}  // namespace vkcomm::sim
