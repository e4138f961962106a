#include "host/settings_json.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "vkcomm/settings/bluetooth_list.h"
#include "vkcomm/util/nearest_float.h"
#include "vkcomm/util/numbers.h"
#include "vkcomm/util/unicode_text.h"

namespace vkcomm {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kKindMember = "kind";

struct ToJson {
    Json operator()(const unsigned char* value) const { return int{*value}; }

    Json operator()(const std::int32_t* value) const { return *value; }

    // As the double with the same shortest digits, which is what JSON prints.
    Json operator()(float* value) const {
        return std::isfinite(*value) ? Json(parseDouble(settingsValueText(value))) : Json();
    }

    Json operator()(const std::wstring* value) const { return toUtf8(*value); }

    Json operator()(const BluetoothAddress* value) const { return bluetoothAddressText(*value, ':'); }

    Json operator()(std::span<unsigned char> value) const {
        return std::vector<int>(value.begin(), value.end());
    }
};

// Sets a value, or tells what would have been right.
struct FromJson {
    const Json& json;

    template <typename Integer>
    const char* integer(Integer& value, const char* expected) const {
        using Range = std::numeric_limits<Integer>;
        if (!json.is_number_integer()) return expected;
        // Numbers beyond 63 bits would be taken for negative ones.
        const bool tooLarge =
            json.is_number_unsigned() && json.get<std::uint64_t>() > std::uint64_t{Range::max()};
        const auto number = json.get<std::int64_t>();
        const bool fits = !tooLarge && number >= Range::min() && number <= Range::max();
        if (fits) value = static_cast<Integer>(number);
        return fits ? nullptr : expected;
    }

    const char* operator()(unsigned char* value) const {
        return integer(*value, "a whole number from 0 to 255");
    }

    const char* operator()(std::int32_t* value) const { return integer(*value, "a whole number of 32 bits"); }

    const char* operator()(float* value) const {
        constexpr const char* kExpected = "a number of single precision";
        if (!json.is_number() && !json.is_null()) return kExpected;
        const double number = json.is_null() ? std::nan("") : json.get<double>();
        if (std::abs(number) > double{std::numeric_limits<float>::max()}) return kExpected;
        *value = nearestFloat(number);
        return nullptr;
    }

    const char* operator()(std::wstring* value) const {
        if (!json.is_string()) return "a text";
        *value = toWide(json.get_ref<const std::string&>());
        return nullptr;
    }

    const char* operator()(BluetoothAddress* value) const {
        constexpr const char* kExpected = "an address like 00:11:22:aa:bb:cc";
        if (!json.is_string()) return kExpected;
        const auto& text = json.get_ref<const std::string&>();
        return text.size() == 17 && parseBluetoothAddress(text, *value) ? nullptr : kExpected;
    }

    const char* operator()(std::span<unsigned char> value) const {
        constexpr const char* kExpected = "a list of as many numbers from 0 to 255 as the field has";
        if (!json.is_array() || json.size() != value.size()) return kExpected;
        std::vector<unsigned char> bytes(value.size());
        for (std::size_t i = 0; i < bytes.size(); ++i)
            if (FromJson{json[i]}(&bytes[i]) != nullptr) return kExpected;
        std::ranges::copy(bytes, value.begin());
        return nullptr;
    }
};

Json recordJson(const SettingsKind& kind, base::CObject& record) {
    Json object;
    object[kKindMember] = kind.name;
    for (const SettingsField& field : kind.fields) {
        Json& owner = field.group.empty() ? object : object[std::string(field.group)];
        owner[std::string(field.name)] = std::visit(ToJson(), field.in(record));
    }
    return object;
}

// Reads the members of one JSON object into a record, or into the group of its fields of that name.
class MemberReader {
public:
    MemberReader(const SettingsKind& kind, base::CObject& record) : m_kind(kind), m_record(record) {}

    // Empty, or what is wrong.
    std::string read(const Json& object, std::string_view group = {}) {
        if (!object.is_object())
            return group.empty() ? "a record is not a JSON object"
                                 : std::string(group) + " is not a JSON object";
        for (const auto& member : object.items()) {
            m_member = member.key();
            if (std::string problem = readMember(member.key(), member.value(), group); !problem.empty())
                return problem;
        }
        return {};
    }

    // The one looked at last.
    const std::string& member() const { return m_member; }

private:
    std::string readMember(const std::string& name, const Json& value, std::string_view group) {
        if (group.empty() && name == kKindMember)
            return value == m_kind.name ? "" : "kind is not \"" + std::string(m_kind.name) + "\"";
        const SettingsField* const field = m_kind.find(group, name);
        if (field == nullptr)
            return isGroup(name) ? read(value, name) : name + " is no field of " + std::string(m_kind.name);
        const char* const expected = std::visit(FromJson{value}, field->in(m_record));
        return expected == nullptr ? std::string() : field->path() + " is not " + expected;
    }

    bool isGroup(std::string_view name) const {
        return std::ranges::any_of(
            m_kind.fields, [&](const SettingsField& field) { return !name.empty() && field.group == name; });
    }

    const SettingsKind& m_kind;
    base::CObject& m_record;
    std::string m_member;
};

int lineAt(std::string_view text, std::size_t at) {
    return 1 + static_cast<int>(std::ranges::count(text.substr(0, at), '\n'));
}

bool readRecord(const SettingsKind& kind, std::string_view text, const Json& object,
                base::CMyObArray& records, SettingsProblem& problem) {
    auto record = kind.create();
    MemberReader reader(kind, *record);
    problem.text = reader.read(object);
    if (!problem.text.empty()) problem.line = jsonLineOf(text, reader.member(), records.GetSize());
    records.Add(std::move(record));
    return problem.text.empty();
}

}  // namespace

std::string settingsJson(const SettingsKind& kind, base::CMyObArray& records) {
    Json list = Json::array();
    for (int i = 0; i < records.GetSize(); ++i)
        list.push_back(recordJson(kind, *records.GetAt(i)));
    return (kind.isList ? list : list.at(0)).dump(2) + "\n";
}

std::string settingsJsonLines(const SettingsKind& kind, base::CMyObArray& records,
                              std::initializer_list<const char*> without) {
    std::string lines;
    for (int i = 0; i < records.GetSize(); ++i) {
        Json object = recordJson(kind, *records.GetAt(i));
        for (const char* name : without)
            object.erase(name);
        lines += object.dump() + "\n";
    }
    return lines;
}

bool readSettingsJson(const SettingsKind& kind, std::string_view text, base::CMyObArray& records,
                      SettingsProblem& problem) {
    Json json;
    try {
        json = Json::parse(text);
    } catch (const Json::parse_error& error) {
        problem = {lineAt(text, error.byte), "is no JSON from here on"};
        return false;
    } catch (const Json::exception&) {
        problem = {1, "holds a number that is too large for any field"};
        return false;
    }
    if (!kind.isList) return readRecord(kind, text, json, records, problem);
    if (!json.is_array()) {
        problem = {1, "is not a JSON array of records"};
        return false;
    }
    return std::ranges::all_of(
        json, [&](const Json& each) { return readRecord(kind, text, each, records, problem); });
}

bool looksLikeJson(std::string_view bytes) {
    constexpr const char* kBlanks = " \t\r\n";
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    const std::size_t first = bytes.find_first_not_of(kBlanks);
    if (first == bytes.npos) return false;
    const std::size_t second = bytes.find_first_not_of(kBlanks, first + 1);
    const char next = second == bytes.npos ? '\0' : bytes[second];
    return bytes[first] == '{' || (bytes[first] == '[' && (next == '{' || next == ']'));
}

int jsonLineOf(std::string_view text, std::string_view name, int record) {
    const std::string quoted = nlohmann::json(name).dump();
    std::size_t at = text.find(quoted);
    for (; record > 0 && at != text.npos; --record)
        at = text.find(quoted, at + quoted.size());
    return at == text.npos ? 0 : lineAt(text, at);
}

}  // namespace vkcomm
