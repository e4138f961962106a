// Matchers for regular expressions that every system takes; GoogleTest's own are poor where POSIX's are missing.
#pragma once

#include <gmock/gmock.h>

#include <regex>
#include <string>

namespace vkcomm::test {

MATCHER_P(HasPattern, pattern, "") {
    return std::regex_search(std::string(arg), std::regex(std::string(pattern)));
}

MATCHER_P(IsPattern, pattern, "") {
    return std::regex_match(std::string(arg), std::regex(std::string(pattern)));
}

}  // namespace vkcomm::test
