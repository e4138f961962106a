#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>

#include "apps/vkcomm/caster_options.h"
#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "host/field_writer.h"
#include "host/ntrip_client.h"
#include "host/shown_text.h"
#include "host/source_table.h"
#include "vkcomm/net/tcp_socket.h"
#include "vkcomm/platform/stop_signal.h"
#include "vkcomm/platform/terminal.h"
#include "vkcomm/util/numbers.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

struct Options {
    CasterChoice caster;
    std::string near;
    bool json = false;
};

constexpr const char* kFooter =
    R"(The streams of a caster: mount point, place, format, satellite systems; whether a position must be sent ("GGA"), and
whether a password or a fee is asked for. With --near the nearest come first, with their distance in kilometres.
  vkcomm simulate caster --tcp 2101 &
  vkcomm sourcetable ntrip://127.0.0.1 --near 48.1,11.6)";

struct Place {
    double latitude;   // degrees
    double longitude;  // degrees
};

std::optional<double> degreesOf(std::string_view text, double most) {
    const bool isNumber = !text.empty() && text.find_first_not_of("+-.0123456789") == text.npos;
    const double value = parseDouble(text);
    return isNumber && std::abs(value) <= most ? std::optional(value) : std::nullopt;
}

std::optional<Place> placeOf(std::string_view text) {
    const std::size_t comma = std::min(text.find(','), text.size());
    const auto latitude = degreesOf(text.substr(0, comma), 90.0);
    const auto longitude = degreesOf(text.substr(std::min(comma + 1, text.size())), 360.0);
    return latitude && longitude ? std::optional(Place{*latitude, *longitude}) : std::nullopt;
}

std::string checkPlace(const std::string& text) {
    return placeOf(text) ? "" : text + " is no place such as 48.1,11.6 (degrees)";
}

std::optional<double> distanceTo(const SourceEntry& entry, const std::optional<Place>& place) {
    if (!place || !entry.latitude || !entry.longitude) return std::nullopt;
    return kilometresBetween(place->latitude, place->longitude, *entry.latitude, *entry.longitude);
}

constexpr std::size_t kColumns = 8;
constexpr std::size_t kMostShown = 40;  // characters of a field
using Row = std::array<std::string, kColumns>;

Row rowOf(const SourceEntry& entry, const std::optional<Place>& place) {
    std::string kilometres;
    if (const auto distance = distanceTo(entry, place)) appendFixed(kilometres, *distance, 0);
    std::string needs = entry.wantsPosition ? "GGA " : "";
    if (!entry.authentication.empty() && entry.authentication != "N") needs += "password ";
    if (entry.hasFee) needs += "fee";
    return {kilometres,
            shownText(entry.mount, kMostShown),
            shownText(entry.identifier, kMostShown),
            shownText(entry.country, kMostShown),
            shownText(entry.format, kMostShown),
            shownText(entry.systems, kMostShown),
            entry.isNetwork ? "network" : "single base",
            needs};
}

constexpr Row headline() {
    return {"km", "mount point", "place", "country", "format", "systems", "kind", "needs"};
}

void appendTable(std::string& out, const SourceTable& table, const std::optional<Place>& place) {
    std::vector<Row> rows{headline()};
    for (const SourceEntry& entry : table.streams)
        rows.push_back(rowOf(entry, place));
    std::array<std::size_t, kColumns> widths{};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < kColumns; ++i)
            widths[i] = std::max(widths[i], shownWidth(row[i]));
    for (const Row& row : rows) {
        std::string line;
        for (std::size_t i = place ? 0 : 1; i < kColumns; ++i)
            line += row[i] + std::string(widths[i] - shownWidth(row[i]) + 2, ' ');
        out += line.substr(0, line.find_last_not_of(' ') + 1) + '\n';
    }
}

void appendJson(std::string& out, const SourceEntry& entry, const std::optional<Place>& place) {
    out += '{';
    FieldWriter fields(out, LineFormat::kJson);
    fields.fileName("mount", entry.mount);
    fields.fileName("identifier", entry.identifier);
    fields.fileName("format", entry.format);
    fields.fileName("details", entry.details);
    fields.fileName("systems", entry.systems);
    fields.fileName("network", entry.network);
    fields.fileName("country", entry.country);
    if (entry.latitude) fields.real("latitude_deg", *entry.latitude, 4);
    if (entry.longitude) fields.real("longitude_deg", *entry.longitude, 4);
    if (const auto distance = distanceTo(entry, place)) fields.real("distance_km", *distance, 1);
    fields.boolean("wants_position", entry.wantsPosition);
    fields.boolean("is_network", entry.isNetwork);
    fields.fileName("authentication", entry.authentication);
    fields.boolean("has_fee", entry.hasFee);
    out += "}\n";
}

int write(SourceTable table, const Options& options) {
    const std::optional<Place> place = placeOf(options.near);
    if (place) sortByDistance(table, place->latitude, place->longitude);
    Output output;
    if (!options.json) appendTable(output.buffer(), table, place);
    for (const SourceEntry& entry : table.streams)
        if (options.json) appendJson(output.buffer(), entry, place);
    if (!output.flush()) {
        complain(outputFailure());
        return kFailed;
    }
    return kDone;
}

int fetch(const Options& options) {
    auto caster = casterOf(options.caster);
    if (!caster) return kWrongUsage;
    caster->mount.clear();
    NtripOptions ntrip;
    ntrip.version = versionOf(options.caster);
    StartWSA();
    NtripClient client(*caster, ntrip);
    bool hasTable = false;
    NtripSteps steps;
    steps.event = [&hasTable](const NtripEvent& event) {
        hasTable = hasTable || event.notice == NtripNotice::kTable;
        const bool isProgress = event.notice == NtripNotice::kConnecting && isOutputTerminal();
        if (event.failure != NtripFailure::kNone || isProgress) complain(event.text);
    };
    if (!client.start()) {
        complain("cannot start another thread");
        return kFailed;
    }
    while (!stopRequested() && client.pump(200ms, steps)) {
    }
    if (!hasTable && stopRequested()) complain("stopped before the source table was there");
    if (!hasTable) return kFailed;
    const SourceTable table = parseSourceTable(client.dialogue().table());
    if (!table.isWhole) complain(caster->shown() + ": the source table is not whole");
    const int status = write(table, options);
    return table.isWhole ? status : kFailed;
}

}  // namespace

void addSourceTable(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("sourcetable", "List the streams of corrections that a caster has");
    verb->footer(kFooter);
    addCasterOptions(*verb, options->caster);
    verb->add_option("--near", options->near, "LAT,LON in degrees: the nearest first")->check(checkPlace);
    verb->add_flag("--json", options->json, "One JSON object a line");
    verb->callback([options, &run] { run = [options] { return fetch(*options); }; });
}

}  // namespace vkcomm
