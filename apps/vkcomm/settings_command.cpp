#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

#include "apps/vkcomm/commands.h"
#include "apps/vkcomm/output.h"
#include "apps/vkcomm/whole_file.h"
#include "host/settings_check.h"
#include "host/settings_file.h"
#include "vkcomm/datum/process_settings.h"

namespace vkcomm {

namespace {

struct Options {
    std::string kind;
    std::string file;
    std::string form;
    std::string output = "-";
    int language = 1;
    bool force = false;
    bool json = false;
};

constexpr const char* kFooter =
    R"(Kinds: base, base-javad, rover, rover-javad, antenna, bluetooth. Forms: text (the block or list that hosts
write; not of the Javad kinds), archive (with its class in front), archive-body (as it stands inside other
archives; not of bluetooth) and json. The form of a file that is read is found out; - is standard input or output.
  vkcomm settings new base base.txt
  vkcomm settings show base base.txt
  vkcomm settings convert base base.txt --to json -o base.json
  vkcomm settings check base base.json)";

std::optional<Settings> open(const SettingsKind& kind, const std::string& path) {
    const auto bytes = readWhole(path);
    if (!bytes) return std::nullopt;
    SettingsProblem problem;
    auto settings = readSettings(kind, *bytes, problem);
    if (!settings)
        complain(path + (problem.line > 0 ? ":" + std::to_string(problem.line) : "") + ": " + problem.text +
                 "; vkcomm settings check tells more");
    return settings;
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        (text += text.empty() ? "" : ", ") += name;
    return text;
}

bool write(const SettingsKind& kind, SettingsForm form, base::CMyObArray& records, const std::string& path) {
    const std::string bytes = settingsBytes(kind, form, records);
    if (!writeWhole(path, bytes)) return false;
    if (const auto lost = fieldsNotKept(kind, records, bytes); !lost.empty())
        complain(path + ": this form does not keep " + joined(lost) + " as it was");
    return true;
}

bool exists(const std::string& path) {
    std::error_code failed;  // it then shows when the file is written
    return std::filesystem::exists(std::filesystem::symlink_status(path, failed));
}

int makeNew(const Options& options, const SettingsKind& kind, SettingsForm form) {
    if (!options.force && options.file != "-" && exists(options.file)) {
        complain(options.file + " exists; --force replaces it");
        return kFailed;
    }
    base::CMyObArray records;
    if (!kind.isList) records.Add(kind.create());
    return write(kind, form, records, options.file) ? kDone : kFailed;
}

int convert(const Options& options, const SettingsKind& kind, SettingsForm form) {
    auto settings = open(kind, options.file);
    return settings && write(kind, form, settings->records, options.output) ? kDone : kFailed;
}

// For people: a line a field, the meaning behind the value; a list with a blank line between its records.
std::string shownLines(const SettingsKind& kind, base::CMyObArray& records) {
    constexpr std::size_t kNameWidth = 22, kValueWidth = 14;
    std::string lines;
    int shown = 0;
    forEachField(kind, records, [&](int i, const SettingsField& field, const SettingsRef& value) {
        if (i != shown) lines += '\n';
        shown = i;
        const std::size_t start = lines.size();
        const auto fill = [&](std::size_t width) {
            lines.append(std::max(start + width, lines.size() + 2) - lines.size(), ' ');
        };
        lines += field.path();
        fill(kNameWidth);
        lines += settingsValueText(value);
        fill(kNameWidth + kValueWidth);
        lines.append(field.meaning) += '\n';
    });
    return lines;
}

int show(const Options& options, const SettingsKind& kind) {
    auto settings = open(kind, options.file);
    if (!settings) return kFailed;
    const std::string text = options.json ? settingsBytes(kind, SettingsForm::kJson, settings->records)
                                          : shownLines(kind, settings->records);
    return writeWhole("-", text) ? kDone : kFailed;
}

std::string problemLine(const Options& options, const SettingsProblem& problem) {
    if (options.json) {
        nlohmann::ordered_json line = {
            {"file", options.file}, {"line", problem.line}, {"problem", problem.text}};
        if (problem.line == 0) line["line"] = nullptr;
        return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
    }
    const std::string place = problem.line > 0 ? ":" + std::to_string(problem.line) : "";
    return options.file + place + ": " + problem.text + "\n";
}

int check(const Options& options, const SettingsKind& kind) {
    const auto bytes = readWhole(options.file);
    if (!bytes) return kFailed;
    const auto problems = checkSettings(kind, *bytes);
    std::string lines;
    for (const SettingsProblem& problem : problems)
        lines += problemLine(options, problem);
    if (!writeWhole("-", lines)) return kFailed;
    if (problems.empty()) complain(options.file + ": every value means something");
    return problems.empty() ? kDone : kFailed;
}

// The verbs that write a form need one that the kind has.
template <typename Verb>
int withForm(const Options& options, const SettingsKind& kind, Verb verb) {
    const std::string name = !options.form.empty() ? options.form : kind.hasText() ? "text" : "archive";
    const auto form = findSettingsForm(kind, name);
    if (form) return verb(options, kind, *form);
    complain(std::string(kind.name) + " settings have no form " + name +
             "; vkcomm settings --help lists them");
    return kWrongUsage;
}

using Verb = int (*)(const Options&, const SettingsKind&);

CLI::App* addVerb(CLI::App& settings, const std::shared_ptr<Options>& options, Run& run, const char* name,
                  const char* about, Verb verb) {
    std::vector<std::string> kinds;
    for (const SettingsKind& kind : settingsKinds())
        kinds.emplace_back(kind.name);
    CLI::App* const added = settings.add_subcommand(name, about);
    added->footer(kFooter);
    added->add_option("KIND", options->kind, "What is kept in the file")
        ->required()
        ->check(CLI::IsMember(kinds));
    added->add_option("FILE", options->file, "The file")->required();
    added->callback([options, &run, verb] {
        run = [options, verb] {
            vSetLang(options->language);
            return verb(*options, *findSettingsKind(options->kind));
        };
    });
    return added;
}

void addLanguage(CLI::App& verb, const std::shared_ptr<Options>& options) {
    const std::map<std::string, int> languages = {{"en", 1}, {"zh-hans", 0}, {"zh-hant", 2}};
    verb.add_option("--language", options->language, "Of the labels of text: en, zh-hans or zh-hant")
        ->transform(CLI::CheckedTransformer(languages));
}

}  // namespace

void addSettings(CLI::App& app, Run& run) {
    auto options = std::make_shared<Options>();
    CLI::App* const settings = app.add_subcommand("settings", "Make, show, convert and check settings files");
    settings->require_subcommand(1);
    settings->footer(kFooter);

    CLI::App* verb =
        addVerb(*settings, options, run, "new", "Write a file of default values",
                [](const Options& o, const SettingsKind& kind) { return withForm(o, kind, makeNew); });
    verb->add_option("--form", options->form, "Form to write; text where the kind has it, else archive");
    verb->add_flag("--force", options->force, "Replace a file that exists");
    addLanguage(*verb, options);

    verb = addVerb(*settings, options, run, "show", "Show the values and what they mean", show);
    verb->add_flag("--json", options->json, "As JSON");

    verb = addVerb(*settings, options, run, "convert", "Write the values in another form or language",
                   [](const Options& o, const SettingsKind& kind) { return withForm(o, kind, convert); });
    verb->add_option("--to", options->form, "Form to write; text where the kind has it, else archive");
    verb->add_option("-o,--output", options->output, "File to write; standard output when not given");
    addLanguage(*verb, options);

    verb = addVerb(*settings, options, run, "check", "Name each value outside its meaning, with its line",
                   check);
    verb->add_flag("--json", options->json, "One JSON object a line");
}

}  // namespace vkcomm
