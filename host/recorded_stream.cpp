#include "host/recorded_stream.h"

#include <algorithm>

namespace vkcomm {

namespace {

bool isAll(const ReceiverFamily* family) { return family && family->name == "all"; }

}  // namespace

std::unique_ptr<RecordedStream> RecordedStream::open(const std::string& path, const StreamChoice& choice,
                                                     std::string& error) {
    auto source = ByteSource::open(path, error);
    if (!source) return nullptr;
    std::unique_ptr<RecordedStream> stream(new RecordedStream);
    stream->m_path = path;
    stream->m_source = std::move(source);
    stream->choose(choice);
    return stream;
}

void RecordedStream::choose(const StreamChoice& choice) {
    m_chunk = choice.chunk;
    m_asked = m_family = choice.family;
    const bool guess = choice.guess && (!m_asked || isAll(m_asked));
    if (choice.guess || m_asked) look(guess);
    if (guess) {
        m_family = m_census->guess();
        m_guessed = !m_asked;
    }
    if (m_family && m_census) {
        const std::string_view source = m_census->positionsFrom(*m_family);
        if (m_census->hasPositions(source))
            m_router.keepPositionsOf(source);
        else
            m_router.setReceiver(source);
    }

    m_decoder.vSetClock(m_clock);
    m_decoder.vSetTildeFrames(choice.tilde);
    m_decoder.vSetDecodeMask(maskFor(choice));
    const bool javad = m_family && m_family->name == "javad";
    m_reader = javad ? makeJavadReader(m_decoder) : makeFrameReader(m_decoder);
}

// Of a pipe only as much as there must be, a little more each time.
void RecordedStream::look(bool untilRecognised) {
    constexpr std::size_t kEnoughOfAPipe = 4096;
    const std::size_t enough = size() ? StreamCensus::kEnough : untilRecognised ? kEnoughOfAPipe : 1;
    for (std::size_t wanted = size() ? enough : 1;;) {
        const ByteSpan beginning = m_source->peek(wanted);
        m_census.emplace(beginning.first(std::min(beginning.size(), StreamCensus::kEnough)));
        const bool ended = beginning.size() < wanted;
        if (ended || beginning.size() >= enough || m_census->guess()) return;
        wanted = beginning.size() + beginning.size() / 8 + 1;
    }
}

std::uint32_t RecordedStream::maskFor(const StreamChoice& choice) const {
    if (choice.mask) return *choice.mask;
    return m_asked ? m_asked->decodeMask : guessedMask(m_family);
}

std::string RecordedStream::guessText() const {
    if (!m_guessed) return {};
    return m_path + (m_family ? ": family guessed: " + std::string(m_family->name)
                              : std::string(": family not recognised"));
}

bool RecordedStream::run(const Steps& steps) {
    const auto record = [&](const RecordView& view) {
        if (m_asked && m_asked->owns(view)) ++m_ownRecords;
        if (!give(m_router.route(view), steps)) return false;
        while (const auto carried = m_router.nextCarried())
            if (!give(*carried, steps)) return false;
        return true;
    };
    if (!readStream(*m_source, *m_reader, m_chunk, {record, steps.progress})) return false;
    while (const auto carried = m_router.nextCarriedAtEnd())
        if (!give(*carried, steps)) return false;
    return true;
}

// The beginning of a pipe may be too short to tell whose positions will come.
bool RecordedStream::give(const RoutedRecord& routed, const Steps& steps) {
    if (!size() && m_census) m_router.adoptPositions(routed, isAll(m_asked) ? nullptr : m_asked);
    return steps.record(routed);
}

std::string RecordedStream::problem() const {
    if (!m_source->error().empty()) return m_source->error();
    if (counters().received == 0) return m_path + ": is empty, there is nothing to decode";
    if (!m_asked || m_ownRecords > 0 || !m_census->guess()) return {};
    return m_path + ": holds no " + std::string(m_asked->name) + " records; at its beginning are " +
           m_census->text();
}

}  // namespace vkcomm
