#include "Report.h"

#include <cstdio>

void Report::Add(const std::string& name, const std::vector<std::string>& list) {
    std::string json = "[", text;
    for (std::size_t i = 0; i < list.size(); ++i) {
        json += (i ? ", " : "") + Quote(list[i]);
        text += (i ? "\n" : "") + list[i];
    }
    fields_.push_back({name, json + "]", text});
}

void Report::Print(bool json) const {
    if (!json) {
        for (const Field& field : fields_) {
            const bool multiline = field.text.find('\n') != std::string::npos;
            std::printf("%s:%s%s\n", field.name.c_str(), multiline ? "\n" : " ",
                        field.text.c_str());
        }
        return;
    }
    std::printf("{");
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        std::printf("%s%s: %s", i ? ", " : "", Quote(fields_[i].name).c_str(),
                    fields_[i].json.c_str());
    }
    std::printf("}\n");
}

std::string Report::Quote(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                out += escaped;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}
