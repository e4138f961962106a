// Gives each record to the parser of its family, and takes records out of the maker's frames.
//
// What a record is does not depend on the family in use, so every family's parser stands ready. The family in
// use says whose state counts as the receiver's own: the one positions, snapshot and GGA come from.
#pragma once

#include <array>
#include <memory>
#include <string_view>

#include "host/family_parser.h"
#include "host/receiver_family.h"

namespace vkcomm {

// A record and what its parser made of it. Valid until the next call of the router that gave it.
struct RoutedRecord {
    RecordView record;
    const FamilyParser* parser = nullptr;  // null: no family has a parser for it
    RecordUse use = RecordUse::kNone;
};

// Not locked: one thread at a time. Gives out pointers to its parsers, which live as long as it.
class RecordRouter {
public:
    RecordRouter();

    RoutedRecord route(const RecordView& record);
    // After route: the records that the frame just given completed, one a call, until there are none (parser,
    // type and bytes as of any other; the source is kCarried). A packet may have come in several frames.
    // Nothing when record was not one of the maker's.
    std::optional<RoutedRecord> nextCarried();
    // The same at the end of the stream: what stands behind a packet that is not whole.
    std::optional<RoutedRecord> nextCarriedAtEnd();

    // Whose positions count; a name of makeFamilyParser.
    void setReceiver(std::string_view family) { m_receiver = parserOf(family); }

    // After a record was given: makes its parser the receiver when its positions are better than those that count.
    // The receiver's own, of a maker's receiver those of the board inside, outrank those of its sentences; of other
    // families than the one asked for (null: any will do) they do not count. True when that changed the receiver.
    bool adoptPositions(const RoutedRecord& routed, const ReceiverFamily* asked);

    // As setReceiver, for positions that are known to come: only better ones take their place.
    void keepPositionsOf(std::string_view family);

    // From here on any positions are better than those so far.
    void forgetPositions() { m_positionRank = 0; }

    const FamilyParser& receiver() const { return *m_receiver; }

    // True for a record of the receiver that completed a position, or said that there is none.
    bool isPosition(const RoutedRecord& record) const {
        return record.parser == m_receiver &&
               (record.use == RecordUse::kPosition || record.use == RecordUse::kNoFix);
    }

    // The family of that parser.
    std::string_view familyOf(const FamilyParser& parser) const;

    // When the stream's records are made, as far as the records so far tell.
    const std::optional<ReceiverTime>& time() const { return m_time; }

private:
    static constexpr std::size_t kFamilies = 7;

    FamilyParser* parserOf(std::string_view family) const;
    FamilyParser* parserFor(const RecordView& record) const;
    std::optional<RoutedRecord> carriedIf(CNOut::RETURN result);

    std::array<std::unique_ptr<FamilyParser>, kFamilies> m_parsers;
    FamilyParser* m_receiver;
    int m_positionRank = 0;  // of the positions that adoptPositions has chosen; 0: none
    CNOut m_carried;
    std::uint64_t m_carrierOffset = 0;
    std::optional<ReceiverTime> m_time;
};

// True for the frames whose payload is a piece of the board's own output.
bool carriesRecords(const MessageKind& kind);

// The payload of a maker's frame, as much of it as there is.
ByteSpan makerPayload(ByteSpan frame);

}  // namespace vkcomm
