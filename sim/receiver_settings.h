// What a simulated receiver is set to: values by name, in the order of the names.
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace vkcomm::sim {

class ReceiverSettings {
public:
    void set(std::string name, std::string value) {
        m_values.insert_or_assign(std::move(name), std::move(value));
    }

    void erase(std::string_view name) {
        if (const auto found = m_values.find(name); found != m_values.end()) m_values.erase(found);
    }

    // All whose names begin so.
    void eraseAll(std::string_view prefix) {
        std::erase_if(m_values, [prefix](const auto& each) { return each.first.starts_with(prefix); });
    }

    // Empty when it is not set.
    std::string get(std::string_view name) const {
        const auto found = m_values.find(name);
        return found == m_values.end() ? std::string() : found->second;
    }

    // "name: value" a line, the prefix before each.
    std::string text(std::string_view prefix = {}) const {
        std::string text;
        for (const auto& [name, value] : m_values)
            text.append(prefix).append(name).append(": ").append(value).append("\n");
        return text;
    }

private:
    std::map<std::string, std::string, std::less<>> m_values;
};

}  // namespace vkcomm::sim
