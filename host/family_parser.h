// The parsers of all receiver families behind one face: records in, named values, time, snapshot and GGA out.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "host/field_writer.h"
#include "host/receiver_snapshot.h"
#include "host/record_view.h"

namespace vkcomm {

// What became of a record.
enum class RecordUse {
    kNone,      // not understood, or too short for what it says: nothing was stored
    kStored,    // values were stored
    kPosition,  // the same, and it completed a position with a fix
    kNoFix,     // the same, and it said that there is no position
};

// Keeps the state of the records so far. Not locked: one thread at a time. Nothing here fails.
class FamilyParser {
public:
    virtual ~FamilyParser() = default;

    virtual RecordUse process(const RecordView& record) = 0;
    // Writes the values of the record that process was given last; what was stored of it comes from the
    // parser, hence with its deliberate changes (scaled sigmas and the like).
    virtual void writeValues(FieldWriter& out, const RecordView& record) const = 0;

    // When the record that process was given last was made, as far as the family tells.
    virtual std::optional<ReceiverTime> time() const = 0;
    virtual ReceiverSnapshot snapshot() const = 0;
    // The GGA sentence of the last position, its line end included. Its time has the scale of the snapshot's.
    virtual std::string gga() const = 0;
};

// The parser of "nmea", "oem4", "trimble", "cmc", "csi", "javad" or "maker"; of any other name that of
// "nmea".
std::unique_ptr<FamilyParser> makeFamilyParser(std::string_view family);

std::unique_ptr<FamilyParser> makeNmeaParser();
std::unique_ptr<FamilyParser> makeOem4Parser();
std::unique_ptr<FamilyParser> makeTrimbleParser();
std::unique_ptr<FamilyParser> makeCmcParser();
std::unique_ptr<FamilyParser> makeCsiParser();
std::unique_ptr<FamilyParser> makeJavadParser();
std::unique_ptr<FamilyParser> makeMakerParser();

}  // namespace vkcomm
