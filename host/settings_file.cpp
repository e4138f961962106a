#include "host/settings_file.h"

#include <algorithm>

#include "host/byte_text.h"
#include "host/settings_json.h"
#include "vkcomm/settings/bluetooth_list.h"

namespace vkcomm {

namespace {

constexpr std::string_view kObjectTag = "\xFF\xFF";

// Bytes that no text in UTF-8 has.
bool isBinary(std::string_view bytes) {
    return bytes.find_first_of(std::string_view("\0\xFF", 2)) != bytes.npos;
}

// Behind what was read there must be nothing.
bool finished(const base::CArchive& archive, SettingsProblem& problem) {
    if (archive.Error())
        problem.text = "is no archive of this kind: " + archive.Error().message();
    else if (archive.Remaining() > 0)
        problem.text = std::to_string(archive.Remaining()) + " bytes stand behind the record";
    return problem.text.empty();
}

bool readObject(const SettingsKind& kind, std::string_view bytes, base::CMyObArray& records,
                SettingsProblem& problem) {
    base::CArchive archive = base::CArchive::LoadFrom(spanOf(bytes));
    auto record = archive.ReadOwned(kind.type);
    if (!finished(archive, problem)) return false;
    if (!record) problem.text = "holds the null object";
    if (record) records.Add(std::move(record));
    return problem.text.empty();
}

bool readBody(const SettingsKind& kind, std::string_view bytes, base::CMyObArray& records,
              SettingsProblem& problem) {
    base::CArchive archive = base::CArchive::LoadFrom(spanOf(bytes));
    auto record = kind.create();
    record->Serialize(archive);
    if (!finished(archive, problem)) return false;
    records.Add(std::move(record));
    return true;
}

bool readArray(const SettingsKind& kind, std::string_view bytes, base::CMyObArray& records,
               SettingsProblem& problem) {
    base::CArchive archive = base::CArchive::LoadFrom(spanOf(bytes));
    records.Serialize(archive);
    if (!finished(archive, problem)) return false;
    for (int i = 0; i < records.GetSize(); ++i)
        if (records.GetAt(i) == nullptr || !records.GetAt(i)->IsKindOf(kind.type))
            problem.text = "object " + std::to_string(i + 1) + " is of another kind";
    return problem.text.empty();
}

bool readBlock(const SettingsKind& kind, std::string_view bytes, base::CMyObArray& records,
               SettingsProblem& problem) {
    base::CStdioFileCe file;
    file.OpenBytes(bytes);
    auto record = kind.create();
    if (kind.readBlock(*record, file) == 0) {
        problem = {kind.hasTitleLine ? 3 : 2, "is no version of a text block of this kind"};
        return false;
    }
    records.Add(std::move(record));
    return true;
}

bool readText(const SettingsKind& kind, std::string_view bytes, base::CMyObArray& records,
              SettingsProblem& problem) {
    if (!kind.isList) return readBlock(kind, bytes, records, problem);
    CBTInformation::readList(bytes, records);
    return true;
}

using Reader = bool (*)(const SettingsKind&, std::string_view, base::CMyObArray&, SettingsProblem&);

struct Candidate {
    SettingsForm form;
    Reader read;
};

// What a file of the kind must be, told by how it begins and what is in it.
Candidate formOf(const SettingsKind& kind, std::string_view bytes) {
    if (bytes.starts_with(kObjectTag)) return {SettingsForm::kArchive, readObject};
    if (looksLikeJson(bytes) && !isBinary(bytes)) return {SettingsForm::kJson, readSettingsJson};
    if (kind.isList)
        return isBinary(bytes) ? Candidate{SettingsForm::kArchive, readArray}
                               : Candidate{SettingsForm::kText, readText};
    base::CMyObArray tried;
    SettingsProblem ignored;
    // Texts in 16-bit characters have such bytes too, but never load as an archive.
    const bool body = !kind.hasText() || (isBinary(bytes) && readBody(kind, bytes, tried, ignored));
    return body ? Candidate{SettingsForm::kArchiveBody, readBody} : Candidate{SettingsForm::kText, readText};
}

struct FormName {
    std::string_view name;
    SettingsForm form;
};

constexpr FormName kForms[] = {
    {"text", SettingsForm::kText},
    {"archive", SettingsForm::kArchive},
    {"archive-body", SettingsForm::kArchiveBody},
    {"json", SettingsForm::kJson},
};

std::string archiveBytes(SettingsForm form, base::CMyObArray& records, bool isList) {
    std::vector<unsigned char> bytes;
    base::CArchive archive = base::CArchive::StoreTo(bytes);
    if (isList)
        records.Serialize(archive);
    else if (form == SettingsForm::kArchiveBody)
        records.GetAt(0)->Serialize(archive);
    else
        archive.WriteObject(records.GetAt(0));
    return std::string(textOf(bytes));
}

std::string textBytes(const SettingsKind& kind, const base::CMyObArray& records) {
    if (kind.isList) return CBTInformation::listText(records);
    base::CStdioFileCe file;
    file.OpenMemory();
    kind.writeBlock(*records.GetAt(0), file);
    return file.Bytes();
}

}  // namespace

std::optional<SettingsForm> findSettingsForm(const SettingsKind& kind, std::string_view name) {
    const auto found = std::ranges::find(kForms, name, &FormName::name);
    if (found == std::end(kForms)) return std::nullopt;
    const bool has = found->form == SettingsForm::kText          ? kind.hasText()
                     : found->form == SettingsForm::kArchiveBody ? !kind.isList
                                                                 : true;
    return has ? std::optional(found->form) : std::nullopt;
}

std::optional<Settings> readSettings(const SettingsKind& kind, std::string_view bytes,
                                     SettingsProblem& problem) {
    problem = {};
    const Candidate candidate = formOf(kind, bytes);
    Settings settings{candidate.form, {}};
    if (!candidate.read(kind, bytes, settings.records, problem)) return std::nullopt;
    return settings;
}

std::string settingsBytes(const SettingsKind& kind, SettingsForm form, base::CMyObArray& records) {
    switch (form) {
    case SettingsForm::kText: return textBytes(kind, records);
    case SettingsForm::kJson: return settingsJson(kind, records);
    default: return archiveBytes(form, records, kind.isList);
    }
}

std::vector<std::string> fieldsNotKept(const SettingsKind& kind, base::CMyObArray& records,
                                       std::string_view bytes) {
    SettingsProblem ignored;
    auto again = readSettings(kind, bytes, ignored);
    std::vector<std::string> paths;
    forEachField(kind, records, [&](int i, const SettingsField& field, const SettingsRef& value) {
        base::CObject* const read = again ? again->records.GetAt(i) : nullptr;
        const bool kept = read != nullptr && settingsValueText(field.in(*read)) == settingsValueText(value);
        if (!kept && std::ranges::find(paths, field.path()) == paths.end()) paths.push_back(field.path());
    });
    return paths;
}

}  // namespace vkcomm
