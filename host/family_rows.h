// What the parsers of the families share: a constant table of the messages understood, and small helpers.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include "host/family_parser.h"
#include "vkcomm/datum/geodetic.h"

namespace vkcomm {

inline constexpr double kDegreesPerRadian = 57.29577951308232;

// One message that Family understands.
template <typename Family>
struct MessageRow {
    LOG_TYPE type;
    unsigned id;
    std::size_t shortest;  // bytes of the record; shorter ones are not given to process
    RecordUse (Family::*process)(ByteSpan record);
    void (Family::*write)(FieldWriter& out, ByteSpan record) const;
};

// A parser that goes by the rows of Family::rows().
template <typename Family>
class RowParser : public FamilyParser {
public:
    RecordUse process(const RecordView& record) override {
        m_row = findRow(record);
        m_use = RecordUse::kNone;
        if (m_row && record.bytes.size() >= m_row->shortest)
            m_use = (static_cast<Family&>(*this).*m_row->process)(record.bytes);
        return m_use;
    }

    void writeValues(FieldWriter& out, const RecordView& record) const override {
        if (!m_row) return;
        if (m_use == RecordUse::kNone)
            out.boolean("stored", false);
        else
            (static_cast<const Family&>(*this).*m_row->write)(out, record.bytes);
    }

protected:
    void forgetRow() { m_row = nullptr; }

private:
    static const MessageRow<Family>* findRow(const RecordView& record) {
        const std::span<const MessageRow<Family>> rows = Family::rows();
        const auto row = std::ranges::find_if(
            rows, [&](const auto& r) { return r.id == record.id && r.type == record.type; });
        return row == rows.end() ? nullptr : &*row;
    }

    const MessageRow<Family>* m_row = nullptr;
    RecordUse m_use = RecordUse::kNone;
};

// The low 8 bits of each character.
std::string narrowed(std::wstring_view text);

// The quality digit of a GGA sentence, 0 when there is none.
int ggaQuality(std::string_view gga);

// The text of a record up to its line end or a zero byte.
std::string_view lineOf(ByteSpan record);

// A position in radians, above the ellipsoid.
SnapshotPosition snapshotPosition(const BLH& position);

// Values that have the same names in every family. Metres.
void writeGpsTime(FieldWriter& out, int week, double seconds);
void writeSigmas(FieldWriter& out, double north, double east, double up);
void writeDegrees(FieldWriter& out, double latitude, double longitude);
// Latitude and longitude, given in radians, and the height above the ellipsoid.
void writePlace(FieldWriter& out, const BLH& position);
void writeXyz(FieldWriter& out, const XYZ& position);

// The list "fields": what stands behind the first comma of text, up to its last star, cut at separators.
void writeFields(FieldWriter& out, std::string_view text, std::string_view separators);

}  // namespace vkcomm
