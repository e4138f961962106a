// Joins the pages of a Trimble GENOUT transmission into the one report that CTrimbleFormat::vProcessGenout
// reads.
#pragma once

#include <cstdint>
#include <vector>

#include "vkcomm/util/bytes.h"

namespace vkcomm {

// Pages carry a transmission number, their index and the highest index; records may run from one page into
// the next. Pages must come in order: page 0 begins a transmission, and any page that does not continue the
// one begun, be it of another transmission or out of turn, gives that one up. Nothing allocates once the
// longest report has come. Not locked: one thread at a time. Copying copies everything.
class GenoutReassembler {
public:
    // Takes one GENOUT packet (type 40h) as the decoder framed it. True when its page completes a
    // transmission: report then holds it. A packet too short for a page, or for its own length, is lost.
    bool add(ByteSpan packet);

    // The last transmission that was completed, as CTrimbleFormat wants it: three bytes 0 (one that is not
    // read, and the page bytes), the records, and a byte 0 behind each satellite record (type 14) whose
    // length is that of its satellites and the byte that counts them, since the parser skips one there. Valid
    // until the next add.
    ByteSpan report() const { return m_report; }

    // Pages that went into no report; those of a transmission that is not complete yet are not counted.
    std::uint64_t lostPages() const { return m_lostPages; }

private:
    bool continues(unsigned char transmission, unsigned char page, unsigned char last) const;
    void giveUp();
    void makeReport();

    std::vector<unsigned char> m_records;  // of the pages so far
    std::vector<unsigned char> m_report;
    unsigned char m_transmission = 0;
    unsigned char m_lastPage = 0;
    unsigned m_pages = 0;  // gathered so far; 0: none begun
    std::uint64_t m_lostPages = 0;
};

}  // namespace vkcomm
