// The settings records that hosts keep, field by field: names, meanings, values that mean something, and where
// each stands in a settings text file. What shows, converts and checks settings works from these tables.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "vkcomm/base/object.h"
#include "vkcomm/base/text_file.h"

namespace vkcomm {

using BluetoothAddress = std::array<unsigned char, 6>;

// A field of a record, by its type. Bytes without a name of their own are a span.
using SettingsRef = std::variant<unsigned char*, std::int32_t*, float*, std::wstring*, BluetoothAddress*,
                                 std::span<unsigned char>>;

// The values of a number that mean something.
struct SettingsLimits {
    double least = -std::numeric_limits<double>::max();
    double most = std::numeric_limits<double>::max();
};

struct SettingsField {
    std::string_view
        group;  // the record it belongs to inside the record, "antenna"; empty: the record itself
    std::string_view name;
    std::string_view meaning;
    SettingsRef (*in)(base::CObject& record);
    SettingsLimits limits = {};
    // What else is wrong with a value, empty when nothing is. Null: nothing can be.
    std::string (*rule)(const SettingsRef& value) = nullptr;

    // "antenna.fOffset" style name for people.
    std::string path() const;
};

// A label line and a value line of a text block.
struct SettingsPair {
    std::string_view group;
    std::string_view name;  // of the field; empty: the version of the block that begins here
    int since = 1;          // the first version of the whole block that has the pair
};

struct SettingsKind {
    std::string_view name;   // as given to the command
    std::string_view title;  // for people
    const base::CRuntimeClass* type;
    std::vector<SettingsField> fields;

    // The text block; without pairs the kind has none.
    bool hasTitleLine = false;
    std::vector<SettingsPair> pairs = {};
    int newestVersion = 1;
    int (*readBlock)(base::CObject& record, base::CStdioFileCe& file) = nullptr;
    void (*writeBlock)(const base::CObject& record, base::CStdioFileCe& file) = nullptr;

    // True: a file holds any number of records, its text is the Bluetooth list file. False: exactly one.
    bool isList = false;

    bool hasText() const { return isList || writeBlock != nullptr; }

    std::unique_ptr<base::CObject> create() const {
        return std::unique_ptr<base::CObject>(type->CreateObject());
    }

    // Null when there is no such field.
    const SettingsField* find(std::string_view group, std::string_view name) const;
};

std::span<const SettingsKind> settingsKinds();

// Null when there is no such kind.
const SettingsKind* findSettingsKind(std::string_view name);

// A text in JSON quotes; control characters are escaped, ill-formed bytes replaced, and a long one is cut.
std::string quotedText(std::string_view utf8, std::size_t mostBytes = 4096);

// The value as text: numbers with the fewest digits that tell them apart, texts in JSON quotes, bytes as decimal
// numbers.
std::string settingsValueText(const SettingsRef& value);

// What is wrong with a value, for people; empty when it means something.
std::string problemWithValue(const SettingsField& field, const SettingsRef& value);

}  // namespace vkcomm
