// Reads clauses of a definition straight from the text of a MIB module.
//
// libsmi normalises a few things that the compiled trees must keep as they
// are written: it folds adjacent ranges into one (0|1..4094 becomes 0..4094),
// it gives INTEGER and Integer32 the same base type, it reports read-create
// as read-write, and it keeps no text of a DEFVAL. Those clauses are taken
// from the module's text instead, located by the line libsmi reports for the
// definition.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mibgen {

struct Token {
    std::string text;
    int line = 0;
};

class MibSource {
public:
    // Tokens of the clause `keyword` (e.g. "SYNTAX", "MAX-ACCESS", "DEFVAL")
    // of the definition that starts at `line` of the file `path`, without the
    // keyword. Returns nothing when the definition has no such clause.
    // For a type assignment written without TEXTUAL-CONVENTION
    // ("Name ::= INTEGER (1..10)") the SYNTAX clause is the assigned type.
    std::optional<std::vector<Token>> Clause(const std::string &path, int line, const std::string &keyword);

private:
    const std::vector<Token> &Tokens(const std::string &path);

    std::map<std::string, std::vector<Token>> files_;
};

// Joins tokens with single spaces: "{ { } }", "{ 30 }".
std::string JoinTokens(const std::vector<Token> &tokens);

}  // namespace mibgen
