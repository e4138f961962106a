#include "host/live_report.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "host/field_writer.h"
#include "host/time_text.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr std::array<std::string_view, 9> kQualities = {
    "no fix",    "single",         "differential", "PPS",       "RTK fixed",
    "RTK float", "dead reckoning", "manual",       "simulated",
};

constexpr std::size_t kMostMessages = 12;
constexpr double kDecibelsPerMark = 2.0;
constexpr double kWeakest = 20.0;  // dB-Hz; below it a bar has no length

void appendOptional(std::string& out, const char* name, std::optional<double> value, int decimals) {
    out += name;
    if (value && std::isfinite(*value))
        appendFixed(out, *value, decimals);
    else
        out += '-';
}

std::string positionText(const std::optional<SnapshotPosition>& position) {
    if (!position) return "-";
    std::string text;
    appendFormat(text, "%.8f° %c  %.8f° %c  %.3f m above %s", std::abs(position->latitude),
                 position->latitude < 0 ? 'S' : 'N', std::abs(position->longitude),
                 position->longitude < 0 ? 'W' : 'E', position->height,
                 position->above == HeightReference::kEllipsoid ? "the ellipsoid" : "sea level");
    return text;
}

std::string satellitesText(const ReceiverSnapshot& snapshot) {
    std::string text;
    if (snapshot.satellitesUsed) appendFormat(text, "%d satellites used", *snapshot.satellitesUsed);
    if (snapshot.satellitesTracked)
        appendFormat(text, "%s%d tracked", text.empty() ? "satellites: " : ", ", *snapshot.satellitesTracked);
    return text;
}

std::string sigmasText(const SnapshotSigmas& sigmas) {
    std::string text;
    appendOptional(text, "north ", sigmas.north, 3);
    appendOptional(text, "  east ", sigmas.east, 3);
    appendOptional(text, "  up ", sigmas.up, 3);
    if (sigmas.horizontal) appendOptional(text, "  horizontal ", sigmas.horizontal, 3);
    return text + " m";
}

std::string dopsText(const SnapshotDops& dops) {
    std::string text;
    appendOptional(text, "PDOP ", dops.pdop, 1);
    appendOptional(text, "  HDOP ", dops.hdop, 1);
    appendOptional(text, "  VDOP ", dops.vdop, 1);
    return text;
}

void appendSatellite(std::string& out, const SnapshotSatellite& satellite) {
    appendFormat(out, "  %c%02d ", static_cast<char>(satellite.system), satellite.number);
    appendFormat(out, satellite.elevation ? "%5.0f°" : "     -", satellite.elevation.value_or(0.0));
    appendFormat(out, satellite.azimuth ? "%6.0f°" : "      -", satellite.azimuth.value_or(0.0));
    appendFormat(out, satellite.cn0 ? "%7.1f " : "      - ", satellite.cn0.value_or(0.0));
    const double marks = (satellite.cn0.value_or(0.0) - kWeakest) / kDecibelsPerMark;
    out.append(static_cast<std::size_t>(std::clamp(marks, 0.0, 25.0)),
               satellite.used.value_or(true) ? '#' : '-');
    out += '\n';
}

std::string durationText(std::chrono::milliseconds time) {
    const long long seconds = time.count() / 1000;
    std::string text;
    appendFormat(text, "%02lld:%02lld:%02lld", seconds / 3600, seconds / 60 % 60, seconds % 60);
    return text;
}

// From so long ago on a live receiver has fallen silent.
constexpr std::chrono::seconds kOld{3};

// "37 s" between the words; empty for what is not old yet.
std::string ageText(const char* before, std::chrono::milliseconds age, const char* behind = "") {
    if (age < kOld) return {};
    return before + std::to_string(age.count() / 1000) + " s" + behind;
}

std::string shownName(const MessageKind& kind) {
    const RecordName name = nameOf(kind);
    if (!name.empty()) return std::string(name.view());
    return std::string(familyNameOf(kind)) + " " + std::to_string(kind.id);
}

void writeOptional(FieldWriter& fields, std::string_view name, std::optional<double> value, int decimals) {
    if (value) fields.real(name, *value, decimals);
}

void writeAge(FieldWriter& fields, std::string_view name, std::optional<std::chrono::milliseconds> since,
              std::chrono::milliseconds now) {
    if (since) fields.real(name, static_cast<double>((now - *since).count()) / 1000.0, 1);
}

void writeCount(FieldWriter& fields, std::string_view name, std::uint64_t count) {
    fields.integer(name, static_cast<std::int64_t>(count));
}

}  // namespace

std::string_view qualityText(int quality) {
    const auto index = static_cast<std::size_t>(quality);
    return index < kQualities.size() ? kQualities[index] : "unknown";
}

void LiveReport::count(const RoutedRecord& record, std::chrono::milliseconds now) {
    m_messages[kindOf(record.record)].add(now);
    ++m_records;
    m_lastRecord = now;
}

void LiveReport::note(const SessionEvent& event) {
    if (event.notice == SessionNotice::kLost) ++m_losses;
    m_lastEvent = event.text;
}

std::string LiveReport::screen(ReceiverSession& session, std::chrono::milliseconds now) const {
    const ReceiverSnapshot snapshot = session.stream().router().receiver().snapshot();
    const ReceiverFamily* const family = session.stream().family();
    std::string text = session.url().text + "   ";
    text += family ? std::string(family->name) : "family not known yet";
    if (const auto rate = session.rate()) appendFormat(text, "   %u bit/s", *rate);
    text += session.isOpen() ? "   open" : "   closed";
    text += ageText(", no record for ", now - m_lastRecord.value_or(m_start)) + "   ";
    text += durationText(now - m_start) + "\n\n";

    text += "Time       " + timeText(snapshot.time);
    if (snapshot.time) text += std::string(" ") + scaleText(snapshot.time->scale);
    text += "\nPosition   " + positionText(snapshot.position);
    if (m_lastPosition) text += ageText("   ", now - *m_lastPosition, " old");
    appendFormat(text, "\nQuality    %d %s   ", snapshot.quality, qualityText(snapshot.quality).data());
    text += satellitesText(snapshot);
    text += "\nDilution   " + dopsText(snapshot.dops);
    text += "\nSigmas     " + sigmasText(snapshot.sigmas) + "\n";
    if (!snapshot.satellites.empty()) text += "\n  Sat   Elev    Azim   C/N0\n";
    for (const SnapshotSatellite& satellite : snapshot.satellites)
        appendSatellite(text, satellite);

    text += "\nRecords    ";
    std::size_t shown = 0;
    for (const auto& [kind, message] : m_messages) {
        if (++shown > kMostMessages) break;
        appendFormat(text, "%s%s %.1f/s", shown > 1 ? ", " : "", shownName(kind).c_str(),
                     message.perSecond(now));
    }
    const DecoderCounters counters = session.stream().counters();
    const PortCounters port = session.port().Counters();
    appendFormat(text, "\nBytes      %llu received, %llu dropped, %llu lost in overflows",
                 static_cast<unsigned long long>(port.received),
                 static_cast<unsigned long long>(counters.dropped),
                 static_cast<unsigned long long>(port.overflowBytes));
    appendFormat(text, "\nErrors     %llu reading, %llu writing, lost %llu times, opened again %u times\n",
                 static_cast<unsigned long long>(port.readErrors),
                 static_cast<unsigned long long>(port.writeErrors), static_cast<unsigned long long>(m_losses),
                 session.reopened());
    if (!m_lastEvent.empty()) text += "Last       " + m_lastEvent + "\n";
    return text;
}

std::string LiveReport::line(ReceiverSession& session) const {
    const ReceiverSnapshot snapshot = session.stream().router().receiver().snapshot();
    std::string text = timeText(snapshot.time) + "  " + positionText(snapshot.position) + "  " +
                       std::string(qualityText(snapshot.quality)) + "  " + satellitesText(snapshot);
    return text + "\n";
}

std::string LiveReport::json(ReceiverSession& session, std::chrono::milliseconds now) const {
    const ReceiverSnapshot snapshot = session.stream().router().receiver().snapshot();
    const PortCounters port = session.port().Counters();
    const ReceiverFamily* const family = session.stream().family();
    std::string text = "{";
    FieldWriter fields(text, LineFormat::kJson);
    fields.fileName("url", session.url().text);
    fields.boolean("open", session.isOpen());
    if (family) fields.text("family", family->name);
    if (const auto rate = session.rate()) fields.integer("rate_bit_per_s", *rate);
    fields.real("elapsed_s", static_cast<double>((now - m_start).count()) / 1000.0, 1);
    if (snapshot.time) {
        fields.text("time_scale", scaleText(snapshot.time->scale));
        if (snapshot.time->week) fields.integer("week", *snapshot.time->week);
        fields.real("seconds", snapshot.time->seconds, 3);
    }
    if (snapshot.position) {
        fields.real("latitude_deg", snapshot.position->latitude, 9);
        fields.real("longitude_deg", snapshot.position->longitude, 9);
        fields.real("height_m", snapshot.position->height, 4);
        fields.text("height_above",
                    snapshot.position->above == HeightReference::kEllipsoid ? "ellipsoid" : "sea level");
    }
    fields.integer("quality", snapshot.quality);
    writeAge(fields, "position_age_s", m_lastPosition, now);
    writeAge(fields, "record_age_s", m_lastRecord, now);
    if (snapshot.satellitesUsed) fields.integer("satellites_used", *snapshot.satellitesUsed);
    if (snapshot.satellitesTracked) fields.integer("satellites_tracked", *snapshot.satellitesTracked);
    writeOptional(fields, "pdop", snapshot.dops.pdop, 2);
    writeOptional(fields, "hdop", snapshot.dops.hdop, 2);
    writeOptional(fields, "vdop", snapshot.dops.vdop, 2);
    writeOptional(fields, "sigma_north_m", snapshot.sigmas.north, 4);
    writeOptional(fields, "sigma_east_m", snapshot.sigmas.east, 4);
    writeOptional(fields, "sigma_up_m", snapshot.sigmas.up, 4);
    writeOptional(fields, "sigma_horizontal_m", snapshot.sigmas.horizontal, 4);
    fields.beginList("satellites");
    for (const SnapshotSatellite& satellite : snapshot.satellites) {
        fields.beginItem();
        fields.text("system", std::string(1, static_cast<char>(satellite.system)));
        fields.integer("number", satellite.number);
        writeOptional(fields, "elevation_deg", satellite.elevation, 1);
        writeOptional(fields, "azimuth_deg", satellite.azimuth, 1);
        writeOptional(fields, "cn0_dbhz", satellite.cn0, 1);
        fields.endItem();
    }
    fields.endList();
    fields.beginList("messages");
    for (const auto& [kind, message] : m_messages) {
        fields.beginItem();
        fields.text("name", shownName(kind));
        writeCount(fields, "count", message.total());
        fields.real("per_second", message.perSecond(now), 1);
        fields.endItem();
    }
    fields.endList();
    writeCount(fields, "records", m_records);
    writeCount(fields, "bytes", port.received);
    writeCount(fields, "dropped_bytes", session.stream().counters().dropped);
    writeCount(fields, "overflow_bytes", port.overflowBytes);
    writeCount(fields, "read_errors", port.readErrors);
    writeCount(fields, "write_errors", port.writeErrors);
    writeCount(fields, "losses", m_losses);
    fields.integer("reopened", session.reopened());
    if (!m_lastEvent.empty()) fields.fileName("last_event", m_lastEvent);
    return text + "}\n";
}

}  // namespace vkcomm
