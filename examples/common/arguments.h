// Command lines: options with a value each, numbers that are checked, and one line for whatever is wrong.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// The words of a command line, taken from the front. The value of an option is the next word, or stands in
/// one word with it: `--name=value`.
class Arguments {
public:
    enum Kind { any, whole, inside };  // numbers: whole ones; ones that are neither bound

    Arguments(int argc, char** argv) : words(argv + std::min(argc, 1), argv + argc) {}

    std::string value(const std::string& option) {
        if (attached) return *std::exchange(attached, std::nullopt);
        if (words.empty()) throw std::runtime_error(option + " needs a value");
        return next();
    }
    /// A finite number from `lowest` to `highest`.
    double number(const std::string& option, double lowest, double highest, Kind kind = any) {
        const std::string text = value(option);
        char* end = nullptr;
        const double x = std::strtod(text.c_str(), &end);
        if (text.empty() || *end || !std::isfinite(x) || (kind == whole && x != std::round(x)))
            throw std::runtime_error(option + " takes a " + (kind == whole ? "whole " : "") + "number, not '" + text +
                                     "'");
        if (x < lowest || x > highest || (kind == inside && (x == lowest || x == highest))) {
            char range[80];
            std::snprintf(range, sizeof range,
                          kind == inside ? " takes a number above %g and below %g, not '"
                                         : " takes a number from %g to %g, not '",
                          lowest, highest);
            throw std::runtime_error(option + range + text + "'");
        }
        return x;
    }
    /// Some of them, with commas.
    std::vector<double> numbers(const std::string& option, double lowest, double highest) {
        std::vector<double> all;
        std::string text = value(option) + ",";
        for (std::size_t comma; (comma = text.find(',')) != std::string::npos; text.erase(0, comma + 1)) {
            attached = text.substr(0, comma);
            all.push_back(number(option, lowest, highest));
        }
        return all;
    }
    std::string oneOf(const std::string& option, std::initializer_list<const char*> names) {
        const std::string text = value(option);
        std::string all;
        for (const char* name : names) {
            if (text == name) return text;
            all += (all.empty() ? "" : " or ") + std::string(name);
        }
        throw std::runtime_error(option + " takes " + all + ", not '" + text + "'");
    }
    /// Width and height, written 640x480, each from 1 to `largest`.
    std::pair<std::int64_t, std::int64_t> size(const std::string& option, std::int64_t largest) {
        const std::string text = value(option);
        long long width = 0, height = 0;
        int read = 0;
        if (std::sscanf(text.c_str(), "%6lldx%6lld%n", &width, &height, &read) != 2 || read != int(text.size()) ||
            width < 1 || height < 1 || width > largest || height > largest)
            throw std::runtime_error(option + " takes a width and a height from 1 to " + std::to_string(largest) +
                                     ", as in 640x480, not '" + text + "'");
        return {width, height};
    }

    /// Takes all words: does with each option what is told, and gives the others, which are files.
    std::vector<std::string> files(
        const std::map<std::string, std::function<void(const std::string& option)>>& options) {
        std::vector<std::string> rest;
        while (!words.empty()) {
            const std::string word = next(), name = word.substr(0, word.find('='));
            if (!word.starts_with("-")) {
                rest.push_back(word);
                continue;
            }
            const auto option = options.find(name);
            if (option == options.end()) throw std::runtime_error("unknown option " + name + "; --help lists them all");
            if (name != word) attached = word.substr(name.size() + 1);
            option->second(name);
            if (attached) throw std::runtime_error(name + " takes no value, so not '" + *attached + "'");
        }
        return rest;
    }

private:
    std::string next() {
        std::string word = words.front();
        words.pop_front();
        return word;
    }

    std::deque<std::string> words;
    std::optional<std::string> attached;
};
