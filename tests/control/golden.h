// Transcripts of command sequences, written by hand from the receivers' documents and kept in golden/*.txt.
//
// A file is blocks: "[name key=1,2 other=3]", then a line a command. Headers in a row share the lines below them;
// a blank line ends a block. A key that a header does not name holds for all of its values.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace vkcomm::test {

using Lines = std::vector<std::string>;
using GoldenKeys = std::map<std::string, int>;

class Golden {
public:
    explicit Golden(const std::string& file) {
        std::ifstream in(VKCOMM_SOURCE_DIR "/tests/control/golden/" + file);
        EXPECT_TRUE(in) << file;
        bool open = false;
        for (std::string line; std::getline(in, line);)
            if (line.starts_with('[')) {
                if (!open) m_blocks.emplace_back();
                m_blocks.back().headers.push_back(headerOf(line));
                open = true;
            } else if (!line.empty() && !line.starts_with('#')) {
                m_blocks.back().lines.push_back(line);
                open = false;
            } else {
                open = false;
            }
    }

    // The lines of these blocks, one behind the other.
    Lines lines(std::initializer_list<const char*> names, const GoldenKeys& keys) const {
        Lines all;
        for (const char* name : names)
            for (const std::string& line : lines(name, keys))
                all.push_back(line);
        return all;
    }

    // The lines of the one block that holds for these keys.
    Lines lines(const std::string& name, const GoldenKeys& keys = {}) const {
        std::vector<const Block*> found;
        for (const Block& block : m_blocks)
            for (const Header& header : block.headers)
                if (header.name == name && holds(header, keys)) found.push_back(&block);
        EXPECT_EQ(found.size(), 1u) << name << ' ' << testing::PrintToString(keys);
        return found.size() == 1 ? found[0]->lines : Lines{};
    }

private:
    struct Header {
        std::string name;
        std::map<std::string, std::vector<int>> keys;
    };

    struct Block {
        std::vector<Header> headers;
        Lines lines;
    };

    static Header headerOf(const std::string& line) {
        std::istringstream words(line.substr(1, line.size() - 2));
        Header header;
        words >> header.name;
        for (std::string word; words >> word;) {
            const std::size_t equals = word.find('=');
            std::istringstream values(word.substr(equals + 1));
            for (std::string value; std::getline(values, value, ',');)
                header.keys[word.substr(0, equals)].push_back(std::stoi(value));
        }
        return header;
    }

    static bool holds(const Header& header, const GoldenKeys& keys) {
        return std::all_of(header.keys.begin(), header.keys.end(), [&](const auto& key) {
            const auto given = keys.find(key.first);
            return given != keys.end() &&
                   std::count(key.second.begin(), key.second.end(), given->second) != 0;
        });
    }

    std::vector<Block> m_blocks;
};

// Calls check with every combination of the values given for each key.
template <typename Check>
void forAll(std::vector<std::pair<std::string, std::vector<int>>> axes, const Check& check,
            const GoldenKeys& keys = {}) {
    if (axes.empty()) return check(keys);
    const auto [name, values] = std::move(axes.back());
    axes.pop_back();
    for (const int value : values) {
        GoldenKeys more = keys;
        more[name] = value;
        forAll(axes, check, more);
    }
}

}  // namespace vkcomm::test
