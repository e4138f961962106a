#include "sim/arguments.h"

namespace vkcomm::sim {

std::string Arguments::word() {
    if (m_fault != Fault::kNone) return {};
    if (peek().empty()) {
        fail(Fault::kMissing);
        return {};
    }
    return m_words[m_next++];
}

std::string Arguments::oneOf(std::string_view choices) {
    std::string choice = choiceOf(choices, word());
    if (choice.empty()) fail(Fault::kUnknownWord);
    return choice;
}

long long Arguments::whole(long long low, long long high) {
    const std::optional<long long> number = wholeNumber(word());
    if (number && *number >= low && *number <= high) return *number;
    fail(Fault::kOutOfRange);
    return 0;
}

std::string Arguments::number(double low, double high) {
    std::string text = word();
    const std::optional<double> number = decimalNumber(text);
    if (number && *number >= low && *number <= high) return text;
    fail(Fault::kOutOfRange);
    return {};
}

void Arguments::fail(Fault fault) {
    if (m_fault != Fault::kNone) return;
    m_fault = fault;
    m_faultyWord = m_next + (fault == Fault::kMissing || fault == Fault::kTooMany ? 1 : 0);
}

bool Arguments::done() {
    if (!isOver()) fail(Fault::kTooMany);
    return m_fault == Fault::kNone;
}

}  // namespace vkcomm::sim
