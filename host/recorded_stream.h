// A recording played through reader and router: what every verb that looks at recordings does.
//
// Without a family or a mask the family is guessed (see guessedMask): of a file from its beginning; a pipe is not
// waited for, its first records make the guess, and whose positions count is seen as they come.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/decode_stream.h"
#include "host/receiver_family.h"
#include "host/record_router.h"
#include "host/stream_census.h"

namespace vkcomm {

struct StreamChoice {
    const ReceiverFamily* family = nullptr;  // null: guessed, unless there is a mask
    std::optional<std::uint32_t> mask;       // instead of the family's
    bool guess = true;                       // false: no guess, and nothing is known of positions
    bool tilde = false;
    std::optional<int> chunk;
};

class RecordedStream {
public:
    struct Steps {
        // Each record, those carried in the maker's frames behind their frame. False stops the run.
        std::function<bool(const RoutedRecord&)> record;
        std::function<void(std::uint64_t)> progress;
    };

    // Null when path cannot be opened; error then says why.
    static std::unique_ptr<RecordedStream> open(const std::string& path, const StreamChoice& choice,
                                                std::string& error);

    // For people, when it was guessed: "family guessed: oem4", or that it could not be. Else empty.
    std::string guessText() const;

    // False when a step stopped it.
    bool run(const Steps& steps);

    const RecordRouter& router() const { return m_router; }

    // Of a file; a pipe has none.
    std::optional<std::uint64_t> size() const { return m_source->size(); }

    // After run.
    DecoderCounters counters() const { return m_reader->counters(); }

    // After run, what went wrong: reading, an empty input, or a family asked for of which there is no record
    // while there are some of others. Empty if nothing.
    std::string problem() const;

private:
    RecordedStream() = default;

    void choose(const StreamChoice& choice);
    void look(bool untilRecognised);
    bool give(const RoutedRecord& routed, const Steps& steps);
    std::uint32_t maskFor(const StreamChoice& choice) const;

    std::string m_path;
    std::unique_ptr<ByteSource> m_source;
    std::optional<int> m_chunk;
    UnhurriedClock m_clock;
    CNOut m_decoder;
    std::unique_ptr<RecordReader> m_reader;
    RecordRouter m_router;
    std::optional<StreamCensus> m_census;
    const ReceiverFamily* m_asked = nullptr;
    const ReceiverFamily* m_family = nullptr;  // asked for or guessed
    bool m_guessed = false;
    std::uint64_t m_ownRecords = 0;
};

}  // namespace vkcomm
