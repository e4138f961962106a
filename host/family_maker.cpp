// Replies of the maker's own receivers. What their frames carry of the board inside is the router's business.
#include "host/family_rows.h"
#include "host/record_router.h"
#include "vkcomm/formats/si_reply.h"

namespace vkcomm {

namespace {

class MakerParser final : public FamilyParser {
public:
    RecordUse process(const RecordView& record) override {
        m_isReply = record.type == LOG_VAREK_REPLY;
        if (!m_isReply) return RecordUse::kNone;
        m_isComplete = record.id == kMakerSi && m_siReply.add(record.bytes);
        return RecordUse::kStored;
    }

    void writeValues(FieldWriter& out, const RecordView& record) const override {
        if (!m_isReply) return;
        const ByteSpan payload = makerPayload(record.bytes);
        if (carriesRecords(kindOf(record)))
            out.integer("carried_bytes", static_cast<std::int64_t>(payload.size()));
        else
            out.bytes("payload", payload);
        if (m_isComplete) {
            out.text("first_word", narrowed(m_siReply.words().first));
            out.text("second_word", narrowed(m_siReply.words().second));
        }
    }

    std::optional<ReceiverTime> time() const override { return std::nullopt; }

    ReceiverSnapshot snapshot() const override { return {}; }

    std::string gga() const override { return {}; }

private:
    SiReply m_siReply;
    bool m_isReply = false;
    bool m_isComplete = false;
};

}  // namespace

std::unique_ptr<FamilyParser> makeMakerParser() { return std::make_unique<MakerParser>(); }

}  // namespace vkcomm
