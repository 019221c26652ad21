// What a diagnostics command answers: named values in order, printed as
// "name: value" lines or as one JSON object.
#pragma once

#include <string>
#include <utility>
#include <vector>

class Report {
public:
    // Adds a text value (a JSON string).
    void Add(const std::string& name, const std::string& text) {
        fields_.push_back({name, Quote(text), text});
    }
    // Adds a flag: "yes" or "no" as text, true or false in JSON.
    void Add(const std::string& name, bool flag) {
        fields_.push_back({name, flag ? "true" : "false", flag ? "yes" : "no"});
    }
    // Adds a number.
    void Add(const std::string& name, long long number) {
        fields_.push_back({name, std::to_string(number), std::to_string(number)});
    }
    // Adds a list: one entry per line as text, a JSON array of strings.
    void Add(const std::string& name, const std::vector<std::string>& list);

    // Prints the report to stdout: "name: value" lines, or one JSON object.
    void Print(bool json) const;

    // A JSON string literal for `text` (bytes of 0x80 and above pass as they are).
    static std::string Quote(const std::string& text);

private:
    struct Field {
        std::string name, json, text;
    };
    std::vector<Field> fields_;
};
