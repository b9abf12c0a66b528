#include "mib_source.h"

#include <cctype>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace mibgen {
namespace {

bool IsWordChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
}

// Splits ASN.1 text into tokens: words and numbers, quoted strings,
// 'hex'H / 'bin'B strings, "::=", "..", and single punctuation. Comments
// ("--" to the next "--" or the end of the line) are dropped.
std::vector<Token> Tokenize(const std::string &text) {
    std::vector<Token> tokens;
    int line = 1;
    size_t i = 0;
    const size_t n = text.size();
    auto at = [&](size_t k) { return k < n ? text[k] : '\0'; };
    while (i < n) {
        const char c = text[i];
        if (c == '\n') {
            ++line;
            ++i;
        } else if (std::isspace(static_cast<unsigned char>(c)) != 0) {
            ++i;
        } else if (c == '-' && at(i + 1) == '-') {
            i += 2;
            while (i < n && text[i] != '\n' && !(text[i] == '-' && at(i + 1) == '-')) ++i;
            if (i < n && text[i] == '-') i += 2;
        } else if (c == '"' || c == '\'') {
            const int start = line;
            size_t j = i + 1;
            while (j < n && text[j] != c) {
                if (text[j] == '\n') ++line;
                ++j;
            }
            ++j;  // closing quote
            if (c == '\'' && j < n && std::isalpha(static_cast<unsigned char>(text[j])) != 0) ++j;  // H or B
            tokens.push_back({text.substr(i, j - i), start});
            i = j;
        } else if (c == ':' && at(i + 1) == ':' && at(i + 2) == '=') {
            tokens.push_back({"::=", line});
            i += 3;
        } else if (c == '.' && at(i + 1) == '.') {
            tokens.push_back({"..", line});
            i += 2;
        } else if (IsWordChar(c)) {
            size_t j = i;
            while (j < n && IsWordChar(text[j]) && !(text[j] == '-' && at(j + 1) == '-')) ++j;
            tokens.push_back({text.substr(i, j - i), line});
            i = j;
        } else {
            tokens.push_back({std::string(1, c), line});
            ++i;
        }
    }
    return tokens;
}

bool Opens(const std::string &t) { return t == "{" || t == "("; }
bool Closes(const std::string &t) { return t == "}" || t == ")"; }

// Appends the balanced group that starts at tokens[i] ("{" or "(") to `out`;
// returns the index after it.
size_t TakeGroup(const std::vector<Token> &tokens, size_t i, std::vector<Token> &out) {
    int depth = 0;
    do {
        if (i >= tokens.size()) throw std::runtime_error("unbalanced group at end of file");
        if (Opens(tokens[i].text)) ++depth;
        if (Closes(tokens[i].text)) --depth;
        out.push_back(tokens[i++]);
    } while (depth > 0);
    return i;
}

// The type of a SYNTAX clause: its name (one or two words) and the
// restriction group that follows, if any.
std::vector<Token> TakeType(const std::vector<Token> &tokens, size_t i) {
    std::vector<Token> out;
    if (i >= tokens.size()) return out;
    const std::string &first = tokens[i].text;
    out.push_back(tokens[i++]);
    if ((first == "OCTET" || first == "OBJECT" || first == "SEQUENCE") && i < tokens.size()) {
        out.push_back(tokens[i++]);  // STRING, IDENTIFIER, OF
        if (first == "SEQUENCE" && i < tokens.size()) out.push_back(tokens[i++]);
    }
    if (i < tokens.size() && Opens(tokens[i].text)) TakeGroup(tokens, i, out);
    return out;
}

}  // namespace

const std::vector<Token> &MibSource::Tokens(const std::string &path) {
    auto it = files_.find(path);
    if (it != files_.end()) return it->second;
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::ostringstream text;
    text << in.rdbuf();
    return files_.emplace(path, Tokenize(text.str())).first->second;
}

std::optional<std::vector<Token>> MibSource::Clause(const std::string &path, int line, const std::string &keyword) {
    const std::vector<Token> &tokens = Tokens(path);
    size_t i = 0;
    while (i < tokens.size() && tokens[i].line < line) ++i;
    if (i + 2 >= tokens.size()) return std::nullopt;

    size_t j;
    if (tokens[i + 1].text == "::=") {
        if (tokens[i + 2].text != "TEXTUAL-CONVENTION") {
            if (keyword != "SYNTAX") return std::nullopt;
            return TakeType(tokens, i + 2);
        }
        j = i + 3;
    } else {
        j = i + 2;  // name and macro, e.g. "lldpV2RemIndex OBJECT-TYPE"
    }

    int depth = 0;
    for (; j < tokens.size(); ++j) {
        const std::string &t = tokens[j].text;
        if (depth == 0 && t == "::=") return std::nullopt;
        if (Opens(t)) ++depth;
        if (Closes(t)) --depth;
        if (depth != 0 || t != keyword) continue;
        if (keyword == "SYNTAX") return TakeType(tokens, j + 1);
        std::vector<Token> out;
        if (j + 1 < tokens.size() && Opens(tokens[j + 1].text)) {
            TakeGroup(tokens, j + 1, out);
        } else if (j + 1 < tokens.size()) {
            out.push_back(tokens[j + 1]);
        }
        return out;
    }
    return std::nullopt;
}

std::string JoinTokens(const std::vector<Token> &tokens) {
    std::string s;
    for (const Token &t : tokens) {
        if (!s.empty()) s += ' ';
        s += t.text;
    }
    return s;
}

}  // namespace mibgen
