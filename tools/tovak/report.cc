#include "report.h"

#include <algorithm>
#include <cmath>

namespace tovak::cli {
namespace {

std::string JsonString(const std::string& text) {
  std::string out = "\"";
  for (unsigned char c : text) {
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (c < 0x20) {
          char escaped[8];
          std::snprintf(escaped, sizeof escaped, "\\u%04x", c);
          out += escaped;
        } else {
          out += static_cast<char>(c);
        }
    }
  }
  return out + "\"";
}

// digits: 15 reads well and survives a round trip through text for people;
// 17 keeps every bit for programs.
std::string FormatDouble(double value, int digits) {
  if (!std::isfinite(value)) return "null";
  char text[40];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

}  // namespace

std::string Render(const Value& value) {
  if (const auto* s = std::get_if<std::string>(&value)) return *s;
  if (const auto* i = std::get_if<int64_t>(&value)) return std::to_string(*i);
  if (const auto* d = std::get_if<double>(&value)) return FormatDouble(*d, 15);
  if (std::holds_alternative<Null>(value)) return "";
  return std::get<bool>(value) ? "yes" : "no";
}

std::string JsonLiteral(const Value& value) {
  if (const auto* s = std::get_if<std::string>(&value)) return JsonString(*s);
  if (const auto* b = std::get_if<bool>(&value)) return *b ? "true" : "false";
  if (const auto* d = std::get_if<double>(&value)) return FormatDouble(*d, 17);
  if (std::holds_alternative<Null>(value)) return "null";
  return Render(value);
}

void Report::Add(std::string key, std::string label, Value value, std::string unit) {
  fields_.push_back({std::move(key), std::move(label), std::move(value), std::move(unit)});
}

void Report::PrintText(std::FILE* out) const {
  size_t width = 0;
  for (const Field& f : fields_) width = std::max(width, f.label.size());
  for (const Field& f : fields_) {
    std::string value = Render(f.value);
    if (!f.unit.empty()) value += (value.empty() ? "" : " ") + f.unit;
    std::fprintf(out, "%-*s  %s\n", static_cast<int>(width), f.label.c_str(), value.c_str());
  }
  for (const Table& t : tables_) {
    if (!fields_.empty() || &t != &tables_.front()) std::fputc('\n', out);
    std::vector<size_t> widths;
    for (const std::string& c : t.columns) widths.push_back(c.size());
    for (const auto& row : t.rows) {
      for (size_t i = 0; i < row.size() && i < widths.size(); ++i) {
        widths[i] = std::max(widths[i], Render(row[i]).size());
      }
    }
    auto printRow = [&](const std::vector<std::string>& cells) {
      std::string line;
      for (size_t i = 0; i < cells.size(); ++i) {
        std::string cell = cells[i];
        if (i + 1 < cells.size()) cell.resize(std::max(cell.size(), widths[i]), ' ');
        line += (i ? "  " : "") + cell;
      }
      std::fprintf(out, "%s\n", line.c_str());
    };
    printRow(t.columns);
    for (const auto& row : t.rows) {
      std::vector<std::string> cells;
      for (const Value& v : row) cells.push_back(Render(v));
      printRow(cells);
    }
  }
}

void Report::PrintJson(std::FILE* out) const {
  std::string json = "{";
  bool first = true;
  auto separator = [&] {
    json += first ? "" : ",";
    first = false;
  };
  for (const Field& f : fields_) {
    separator();
    json += JsonString(f.key) + ":" + JsonLiteral(f.value);
  }
  for (const Table& t : tables_) {
    separator();
    json += JsonString(t.key) + ":[";
    for (size_t r = 0; r < t.rows.size(); ++r) {
      json += r ? ",{" : "{";
      for (size_t i = 0; i < t.rows[r].size() && i < t.columns.size(); ++i) {
        if (i > 0) json += ",";
        json += JsonString(t.columns[i]) + ":" + JsonLiteral(t.rows[r][i]);
      }
      json += "}";
    }
    json += "]";
  }
  json += "}\n";
  std::fputs(json.c_str(), out);
}

}  // namespace tovak::cli
