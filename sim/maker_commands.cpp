#include "sim/maker_commands.h"

#include <algorithm>
#include <cstdint>

#include "sim/answers.h"
#include "sim/byte_writer.h"
#include "sim/command_text.h"
#include "sim/maker_encoder.h"
#include "vkcomm/util/checksums.h"

namespace vkcomm::sim {

using namespace std::string_view_literals;

namespace {

constexpr std::array kSelectors{0x18, 0x19, 0x1B, 0x38, 0x39, 0x3B, 0x48, 0x49};

constexpr std::size_t kFrameHead = 6, kFrameTail = 3;
constexpr std::string_view kEmptyFrame("$$\0\r\n", 5);

constexpr unsigned char kMasks = 152;
constexpr std::size_t kBlockHead = 5, kBlockTail = 4;

bool endsLine(ByteSpan bytes) { return asText(bytes).ends_with("\r\n"); }

Front blockOf(ByteSpan bytes) {
    if (bytes.size() >= 3 && (bytes[1] ^ bytes[2]) != 0xFF) return otherFront();
    if (bytes.size() < kBlockHead) return {};
    const std::size_t size = kBlockHead + loadLe<std::uint16_t>(bytes.data() + 3) + kBlockTail;
    if (size > CommandedReceiver::kMostHeld) return {FrontKind::kCommand, kBlockHead};
    return frameFront(bytes, size);
}

constexpr std::size_t kModemHead = 3, kLongestModemText = 10;

// Nothing but what comes next marks the end of a VVB text that is shorter than seven characters: another VVA or VVB, a
// frame, or what is no text.
Front shortModemText(ByteSpan bytes) {
    const std::string_view text = asText(bytes);
    const std::size_t longest = std::min(text.size(), kLongestModemText);
    for (std::size_t i = kModemHead; i < longest; ++i) {
        const bool isText = text[i] >= ' ' && text[i] <= '~' && text[i] != '$';
        if (!isText || text.substr(i).starts_with("VV")) return {FrontKind::kCommand, i};
        if (text[i] == 'V' && i + 1 == text.size()) return {};
    }
    return frameFront(bytes, kLongestModemText);
}

Front modemTextOf(ByteSpan bytes) {
    const std::string_view head = asText(bytes.first(std::min(bytes.size(), kModemHead)));
    if (head == "VVA") return frameFront(bytes, kLongestModemText);
    if (head == "VVB") return shortModemText(bytes);
    return head == "V" || head == "VV" ? Front{} : otherFront();
}

// CRC-8 of the bytes and a zero.
unsigned char secondCheckOf(ByteSpan bytes) {
    unsigned crc = 0;
    for (std::size_t i = 0; i <= bytes.size(); ++i) {
        crc ^= i < bytes.size() ? bytes[i] : 0u;
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc << 1 ^ ((crc & 0x80) != 0 ? 0x07u : 0u)) & 0xFF;
    }
    return static_cast<unsigned char>(crc);
}

bool blockChecks(ByteSpan block) {
    const ByteSpan checked = block.first(block.size() - 3);  // the XOR included
    return xorOf(checked) == 0 && secondCheckOf(checked) == block[checked.size()] && endsLine(block);
}

void addBlock(unsigned char id, std::uint16_t word, ByteSpan data, Reaction& reaction) {
    ByteWriter block;
    block.text("@", 1);
    block.le(id);
    block.le(static_cast<unsigned char>(~id));
    block.le(static_cast<std::uint16_t>(data.size() + 2));
    block.le(word);
    block.append(data);
    block.le(xorOf(block.bytes()));
    block.le(secondCheckOf(block.bytes()));
    block.text("\r\n", 2);
    reaction.say(block.bytes());
}

void addReply(std::string_view letters, ByteSpan payload, Reaction& reaction) {
    Piece frames;
    addMakerFrames(letters, payload, frames);
    reaction.say(frames.bytes);
}

// What the letters set: so many numbers, or a text.
struct Setting {
    std::string_view letters;
    std::size_t numbers;  // 0: a text
};

constexpr Setting kSettings[] = {{"RG", 1}, {"RK", 1}, {"RL", 1}, {"RM", 1}, {"ST", 1},
                                 {"IM", 1}, {"RQ", 2}, {"VL", 0}, {"VF", 0}};

}  // namespace

// One whose end is not where its length says is no more than its dollars: what follows them is looked at anew.
Front MakerCommands::frontOfFrame(ByteSpan bytes) {
    if (bytes.size() < 2) return {};
    if (bytes[1] != '$') return otherFront();
    if (bytes.size() >= 3 && bytes[2] == 0) return frameFront(bytes, kEmptyFrame.size());
    if (bytes.size() < kFrameHead) return {};
    const Front front = frameFront(bytes, kFrameHead + bytes[5] + kFrameTail);
    if (front.kind == FrontKind::kCommand && !endsLine(bytes.first(front.size)))
        return {FrontKind::kCommand, 2};
    return front;
}

Front MakerCommands::frontOf(ByteSpan bytes) const {
    switch (bytes[0]) {
    case '$': return frontOfFrame(bytes);
    case '@': return blockOf(bytes);
    case '%': return lineFront(bytes);
    case 'V': return modemTextOf(bytes);
    case '\r':
    case '\n': return {FrontKind::kFiller, 1};
    default: return otherFront();
    }
}

void MakerCommands::obey(ByteSpan command, Reaction& reaction) {
    switch (command[0]) {
    case '$': return obeyFrame(command, reaction);
    case '@': return obeyBlock(command, reaction);
    default: return obeyText(command);
    }
}

void MakerCommands::obeyFrame(ByteSpan frame, Reaction& reaction) {
    if (asText(frame) == kEmptyFrame) return note("$$");
    if (frame.size() < kFrameHead) return note("$$", "the frame does not end where its length says");
    const std::string name = shownText(frame.first(4));
    if (xorOf(frame.first(frame.size() - 2)) != 0) return note(name, "wrong checksum");
    if (std::ranges::find(kSelectors, frame[4]) == kSelectors.end()) return note(name, "unknown selector");
    obeyLetters(asText(frame.subspan(2, 2)), frame.subspan(kFrameHead, frame[5]), reaction);
}

void MakerCommands::obeyLetters(std::string_view letters, ByteSpan payload, Reaction& reaction) {
    if (letters == "RZ") return speakToBoard(payload, reaction);
    if (letters == "VD") {
        reaction.leave(payload);
        return;
    }
    if (letters == "SI") return tellIdentity(reaction);
    obeySetting(letters, payload, reaction);
}

void MakerCommands::obeySetting(std::string_view letters, ByteSpan payload, Reaction& reaction) {
    const auto* setting = std::ranges::find(kSettings, letters, &Setting::letters);
    const bool isKnown = setting != std::end(kSettings), isNumbers = isKnown && setting->numbers != 0;
    const std::string value = isNumbers ? numbersText(payload) : shownText(payload);
    std::string problem;
    if (letters == "VS")
        problem = setListed(asText(payload));
    else if (!isKnown)
        problem = "unknown command";
    else if (isNumbers ? payload.size() != setting->numbers : payload.empty())
        problem = "wrong number of values";
    else
        m_settings.set(std::string(letters), value);
    const unsigned char isTaken = problem.empty() ? 1 : 0;
    addReply(letters, ByteSpan(&isTaken, 1), reaction);
    note("$$" + std::string(letters) + ' ' + value, problem);
}

std::string MakerCommands::setListed(std::string_view line) {
    if (!takeLineEnd(line)) return "the line breaks off";
    if (line.size() < 3 || line[0] != '%' || line[2] != ' ') return "no letter and text";
    m_settings.set(std::string(line.substr(0, 2)), std::string(line.substr(3)));
    return {};
}

void MakerCommands::tellIdentity(Reaction& reaction) {
    Piece start;
    encodeMakerStart(momentOfAnswers(), start);
    addFrames(
        start, [](ByteSpan frame) { return asText(frame).starts_with("$$SI"); }, reaction.answer);
    note("$$SI");
}

CommandedReceiver& MakerCommands::boardFor(ByteSpan payload) {
    constexpr std::array kFamilies{"trimble"sv, "cmc"sv, "oem4"sv};
    for (auto& board : m_boards)
        if (board && board->held() != 0) return *board;
    const Board board = payload[0] == 0x01                         ? kCmc
                        : payload[0] == 0x02 || payload[0] == 0x05 ? kTrimble
                                                                   : kNovatel;
    if (!m_boards[board]) m_boards[board] = makeCommandedReceiver(kFamilies[board]);
    return *m_boards[board];
}

// Half a command is with one board at most; what follows is its rest.
void MakerCommands::speakToBoard(ByteSpan payload, Reaction& reaction) {
    if (payload.empty()) return;
    const Reaction board = passOn(boardFor(payload), payload);
    addReply("RZ", board.answer, reaction);
    reaction.leave(board.rest);
}

void MakerCommands::obeyBlock(ByteSpan block, Reaction& reaction) {
    std::string name = "block " + wholeText(block[1]);
    if (block.size() < kBlockHead + 2 + kBlockTail) return note(name, "the block is too short or too long");
    if (!blockChecks(block)) return note(name, "wrong checksum");
    if (block[1] != kMasks) return note(name, "unknown block");
    const auto word = loadLe<std::uint16_t>(block.data() + kBlockHead);
    const ByteSpan data = block.subspan(kBlockHead + 2, block.size() - kBlockHead - 2 - kBlockTail);
    if (!data.empty() && data.size() != 2) return note(name, "not two masks");
    name += ", masks " + wholeText(word);
    note(name + ": " + numbersText(data));
    if (!data.empty()) {
        m_masks[word] = {data[0], data[1]};
        m_settings.set(std::move(name), numbersText(data));
    }
    const auto masks = m_masks.find(word);
    addBlock(kMasks, word, masks == m_masks.end() ? Masks{} : masks->second, reaction);
}

void MakerCommands::obeyText(ByteSpan text) {
    const std::string_view line = asText(text);
    if (line[0] == '%') return note(shownText(text), setListed(line));
    m_settings.set(std::string(line.substr(0, 3)), shownText(text.subspan(3)));
    note(shownText(text), line.size() == 3 ? "no text" : "");
}

std::string MakerCommands::state() const {
    constexpr std::array kNames{"board trimble: "sv, "board cmc: "sv, "board novatel: "sv};
    std::string text = CommandedReceiver::state();
    for (std::size_t i = 0; i < m_boards.size(); ++i)
        if (m_boards[i]) text += m_boards[i]->settings().text(kNames[i]);
    return text;
}

}  // namespace vkcomm::sim
