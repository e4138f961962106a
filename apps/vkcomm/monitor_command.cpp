#include <CLI/CLI.hpp>
#include <memory>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/session_options.h"
#include "host/live_report.h"
#include "vkcomm/platform/terminal.h"

namespace vkcomm {

using namespace std::chrono_literals;

namespace {

constexpr auto kBetweenScreens = 500ms;
constexpr auto kLongestSilence = 1100ms;  // of the JSON lines, where no positions come
constexpr std::string_view kHomeAndClear = "\x1B[H\x1B[J";

struct Options {
    SessionChoice session;
    bool json = false;
    bool plain = false;
};

constexpr const char* kFooter =
    R"(On a terminal a screen that is kept up to date, else a line for each position.
  vkcomm monitor sim:oem4 --for 10s
  vkcomm monitor serial:/dev/ttyUSB0
  vkcomm monitor --json tcp://192.168.1.20:5017)";

class Monitoring {
public:
    explicit Monitoring(const Options& options)
        : m_options(options), m_report(systemClock().now()),
          m_isScreen(!options.json && !options.plain && isOutputTerminal()) {}

    int run() {
        m_session = openSession(m_options.session);
        if (!m_session) return m_session.status;
        const SessionSteps steps{
            [this](const RoutedRecord& record) { take(record); },
            [this](const SessionEvent& event) {
                m_report.note(event);
                if (!m_isScreen) complain(event.text);
            },
        };
        const bool done = pumpSession(*m_session, m_options.session, steps,
                                      [this](std::chrono::milliseconds now) { show(now); });
        m_nextScreen = {};
        show(systemClock().now());
        if (m_report.records() == 0) complain(m_options.session.url + ": no record of a receiver came");
        return done && m_report.records() > 0 ? kDone : kFailed;
    }

private:
    void take(const RoutedRecord& record) {
        const auto now = systemClock().now();
        m_report.count(record, now);
        if (!m_session->stream().router().isPosition(record)) return;
        m_report.countPosition(now);
        if (!m_isScreen) writeLine(now);
    }

    void writeLine(std::chrono::milliseconds now) {
        m_nextLine = now + kLongestSilence;
        m_output.buffer() += m_options.json ? m_report.json(*m_session, now) : m_report.line(*m_session);
        m_output.flush();
    }

    void show(std::chrono::milliseconds now) {
        if (m_options.json && now >= m_nextLine) writeLine(now);
        if (!m_isScreen || now < m_nextScreen) return;
        m_nextScreen = now + kBetweenScreens;
        m_output.buffer() += kHomeAndClear;
        m_output.buffer() += m_report.screen(*m_session, now);
        m_output.flush();
    }

    const Options& m_options;
    LiveReport m_report;
    Output m_output;
    OpenedSession m_session;
    const bool m_isScreen;
    std::chrono::milliseconds m_nextScreen{};
    std::chrono::milliseconds m_nextLine{};
};

}  // namespace

void addMonitor(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* verb = app.add_subcommand("monitor", "Show what a receiver reports, live");
    verb->footer(kFooter);
    addSessionOptions(*verb, options->session);
    auto* json = verb->add_flag("--json", options->json,
                                "One JSON object for each position, and each second without one");
    verb->add_flag("--plain", options->plain, "Lines also on a terminal")->excludes(json);
    verb->callback([options, &run] { run = [options] { return Monitoring(*options).run(); }; });
}

}  // namespace vkcomm
