// What a command answers, printed for people (aligned, labelled) or as JSON.
#ifndef TOVAK_TOOLS_REPORT_H_
#define TOVAK_TOOLS_REPORT_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <variant>
#include <vector>

namespace tovak::cli {

// No value: JSON null; for people the field's unit text says why.
using Null = std::monostate;
using Value = std::variant<std::string, int64_t, double, bool, Null>;

struct Field {
  std::string key;    // JSON key
  std::string label;  // label for people
  Value value;
  std::string unit;  // printed after the value for people ("ps", "s", ...), alone for Null
};

struct Table {
  std::string key;
  std::vector<std::string> columns;
  std::vector<std::vector<Value>> rows;
};

class Report {
 public:
  void Add(std::string key, std::string label, Value value, std::string unit = "");
  void AddTable(Table table) { tables_.push_back(std::move(table)); }

  void PrintText(std::FILE* out) const;
  void PrintJson(std::FILE* out) const;

 private:
  std::vector<Field> fields_;
  std::vector<Table> tables_;
};

// The text of a value as printed for people and inside JSON strings.
std::string Render(const Value& value);
// value as a JSON literal (strings quoted and escaped).
std::string JsonLiteral(const Value& value);

}  // namespace tovak::cli

#endif  // TOVAK_TOOLS_REPORT_H_
