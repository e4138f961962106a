#include "host/position_lines.h"

#include <cmath>

#include "vkcomm/util/numbers.h"

namespace vkcomm {

namespace {

constexpr char kColumns[] =
    "time_scale,week,seconds,latitude_deg,longitude_deg,height_m,height_above,quality,satellites_used,hdop,"
    "sigma_north_m,sigma_east_m,sigma_up_m,sigma_horizontal_m\n";

// The fields of a line, a comma behind each but the last.
class Columns {
public:
    explicit Columns(std::string& out) : m_out(out) {}

    void text(std::string_view value) {
        if (!m_first) m_out += ',';
        m_first = false;
        m_out += value;
    }

    void integer(std::optional<int> value) {
        text({});
        if (value) appendInteger(m_out, *value);
    }

    void real(std::optional<double> value, int decimals) {
        text({});
        if (value && std::isfinite(*value)) appendFixed(m_out, *value, decimals);
    }

private:
    std::string& m_out;
    bool m_first = true;
};

std::string quoted(std::string_view text) {
    if (text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string quotedText = "\"";
    for (const char c : text)
        quotedText.append(c == '"' ? 2 : 1, c);
    return quotedText + '"';
}

void addTime(Columns& columns, const std::optional<ReceiverTime>& time) {
    columns.text(!time ? "" : time->scale == TimeScale::kGps ? "gps" : "utc");
    columns.integer(time ? time->week : std::nullopt);
    columns.real(time ? std::optional(time->seconds) : std::nullopt, 3);
}

void addPosition(Columns& columns, const std::optional<SnapshotPosition>& position) {
    if (!position) {
        for (int column = 0; column < 4; ++column)
            columns.text({});
        return;
    }
    columns.real(position->latitude, 9);
    columns.real(position->longitude, 9);
    columns.real(position->height, 4);
    columns.text(position->above == HeightReference::kEllipsoid ? "ellipsoid" : "sea");
}

int digit(char c) { return c - '0'; }

}  // namespace

std::string positionHeader(bool withFile) { return (withFile ? "file," : "") + std::string(kColumns); }

void appendPositionLine(std::string& out, std::string_view file, const ReceiverSnapshot& snapshot) {
    Columns columns(out);
    if (!file.empty()) columns.text(quoted(file));
    addTime(columns, snapshot.time);
    addPosition(columns, snapshot.position);
    columns.integer(snapshot.quality);
    columns.integer(snapshot.satellitesUsed);
    columns.real(snapshot.dops.hdop, 2);
    columns.real(snapshot.sigmas.north, 4);
    columns.real(snapshot.sigmas.east, 4);
    columns.real(snapshot.sigmas.up, 4);
    columns.real(snapshot.sigmas.horizontal, 4);
    out += '\n';
}

std::string ggaMovedBack(std::string_view gga, double seconds) {
    constexpr std::size_t kTimeAt = 7;  // "$GPGGA,hhmmss.ss,"
    constexpr std::size_t kTimeSize = 9;
    const std::size_t star = gga.find('*');
    std::string_view time = gga.substr(std::min(kTimeAt, gga.size()), kTimeSize);
    if (star == std::string_view::npos || time.size() < kTimeSize ||
        time.find_first_not_of("0123456789.") != std::string_view::npos)
        return std::string(gga);
    const double sent = digit(time[0]) * 36000.0 + digit(time[1]) * 3600.0 + digit(time[2]) * 600.0 +
                        digit(time[3]) * 60.0 + parseDouble(time.substr(4));
    double moved = std::fmod(sent - seconds, kSecondsPerDay);
    if (moved < 0.0) moved += kSecondsPerDay;
    const auto hundredths = std::llround(moved * 100.0) % 8640000;

    std::string text(gga.substr(0, kTimeAt));
    appendInteger(text, hundredths / 360000, 2);
    appendInteger(text, hundredths / 6000 % 60, 2);
    appendFixed(text, static_cast<double>(hundredths % 6000) / 100.0, 2, 5);
    text += gga.substr(kTimeAt + kTimeSize, star - kTimeAt - kTimeSize);
    unsigned sum = 0;
    for (const char c : std::string_view(text).substr(1))
        sum ^= static_cast<unsigned char>(c);
    appendFormat(text, "*%02X\r\n", sum);
    return text;
}

}  // namespace vkcomm
