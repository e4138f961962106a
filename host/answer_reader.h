// Finds a receiver's answers to commands among whatever else it sends.
//
// The stream is cut into records as for decoding, so that bytes inside a record are never taken for an answer. What
// stands in no record is looked at where a dialect answers with bare bytes. Bytes of the board inside the maker's
// frames are read like those of a board that is connected directly.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/command_target.h"
#include "host/decode_stream.h"
#include "host/record_router.h"

namespace vkcomm {

enum class AnswerKind : std::uint8_t {
    kAccepted,  // the receiver has taken a command
    kRefused,
    kRecord,  // the record that was wanted
};

struct Answer {
    AnswerKind kind;
    std::string text;          // for people, without a line end
    std::string json = {};     // of kRecord: the line that decode --json would print, without its end
    std::string letters = {};  // of the maker's own frames
    // Which command it answers, where it tells: the number of a CMC message, the %id% of a Javad line, of TSIP its own
    // type; a character for a number.
    std::string about = {};
};

// Not locked: one thread at a time.
class AnswerReader {
public:
    explicit AnswerReader(const CommandTarget& target);

    void feed(ByteSpan bytes);
    // Nothing has come for a while: the lead of a frame that is not whole was none.
    void pause();

    // Records of this kind, an OEM4 log in either form, are answers from now on; null: no records.
    void want(std::optional<MessageKind> kind);

    // The next answer; nothing when more bytes are needed.
    std::optional<Answer> next();
    // Drops what was found.
    void forget();

    // The receiver's port that the line ends at, counted from 1, by the last prompt of a NovAtel board; 0: not known.
    int promptPort() const { return m_promptPort; }

private:
    void takeRecords();
    void take(const RoutedRecord& routed);
    void takeLoose(ByteSpan bytes);
    void takeLooseUpTo(std::uint64_t offset);
    void takeCsiByte(char character);
    void takeTsipByte(unsigned char byte);
    void addTsipPacket(std::string_view packet);
    bool isWanted(const RecordView& record) const;
    void addRecord(const RoutedRecord& routed);

    const CommandTarget m_target;
    UnhurriedClock m_clock;
    CNOut m_decoder;
    std::unique_ptr<RecordReader> m_reader;
    RecordRouter m_router;
    std::optional<MessageKind> m_wanted;
    std::vector<unsigned char> m_recent;  // from m_taken on
    std::uint64_t m_fed = 0;
    std::uint64_t m_taken = 0;  // bytes that are in records or looked at
    std::string m_line;         // of an answer that has begun outside records
    bool m_isEscape = false;    // TSIP: behind a DLE that may be doubled
    std::deque<Answer> m_answers;
    int m_promptPort = 0;
    std::unique_ptr<AnswerReader> m_inside;  // reads what the maker's frames carry
};

}  // namespace vkcomm
