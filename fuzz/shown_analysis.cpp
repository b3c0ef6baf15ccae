#include "fuzz/shown_analysis.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "analysis/curves.h"
#include "fuzz/expect.h"
#include "fuzz/json_schema.h"
#include "outputs/colours.h"
#include "outputs/csv.h"
#include "outputs/drawable.h"
#include "outputs/drawing_svg.h"
#include "outputs/figure.h"
#include "outputs/figures_text.h"
#include "outputs/json.h"
#include "outputs/record_info.h"
#include "outputs/text.h"
#include "readers/text.h"
#ifdef DIPX_HAS_PAGE
#include "outputs/page/page_html.h"
#endif

namespace fuzz {
namespace {

using nlohmann::json;

bool is_word_letter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

/// Returns whether a text has the word "nan" or "inf", which is how numbers that are not finite are written.
bool has_no_number(std::string_view text) {
  for (const std::string_view word : {"nan", "inf"}) {
    for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) {
      const std::size_t end = at + word.size();
      const bool begins = at == 0 || !is_word_letter(text[at - 1]);
      if (begins && (end == text.size() || !is_word_letter(text[end]))) return true;
    }
  }
  return false;
}

/// Returns whether the texts of a file have such words themselves, so that they say nothing about numbers.
bool has_odd_words(const readers::Record& record) {
  std::string all;
  for (const auto* text : {&record.station, &record.device, &record.start_time, &record.trigger_time})
    all += *text + ' ';
  for (const auto& channel : record.channels) all += channel.name + ' ' + channel.unit + ' ' + channel.phase + ' ';
  for (const auto& note : record.notes) all += note + ' ';
  for (const auto& section : record.rates) all += section.title + ' ';
  return has_no_number(readers::lower_case(all));
}

// --- text ------------------------------------------------------------------------------------------------------------

/// Returns whether the record has names that are too long for a line of text, which keeps each word in one piece.
bool has_long_names(const readers::Record& record) {
  constexpr std::size_t usual = 24;
  std::size_t most = 0;
  for (const auto* text : {&record.station, &record.device, &record.start_time}) {
    most = std::max(most, outputs::columns_of(*text));
  }
  for (const auto& channel : record.channels) most = std::max(most, outputs::columns_of(channel.name + channel.unit));
  return most > usual;
}

void expect_narrow_lines(const std::string& text) {
  constexpr std::size_t most_columns = 80;
  readers::Lines lines(text);
  while (const auto line = lines.next()) {
    if (line->starts_with("  note: ")) continue;  // each note is one line, however long it is
    expect_that(outputs::columns_of(std::string(*line)) <= most_columns, "a line has at most 80 columns", *line);
  }
}

void expect_text(const readers::Record& record, const analysis::Analysis& analysis, bool odd_words) {
  const std::string text = outputs::text_of(record, analysis);
  const std::string lines = outputs::lines_of(record, analysis);
  expect_inert_lines(text);
  expect_inert_lines(lines);
  if (!has_long_names(record)) expect_narrow_lines(text);
  if (odd_words) return;
  expect_that(!has_no_number(text), "the text has finite numbers only", text);
  expect_that(!has_no_number(lines), "the lines have finite numbers only", lines);
}

// --- documents -------------------------------------------------------------------------------------------------------

json parsed(std::string_view text) {
  json document = json::parse(text, nullptr, false);
  expect_that(!document.is_discarded(), "the document is JSON", text);
  return document;
}

void expect_document(const readers::Record& record, const analysis::Analysis& analysis) {
  static const JsonSchema schema(json::parse(std::ifstream(DIPX_SCHEMA)));
  const std::string line = outputs::json_line_of(record, analysis);
  expect_that(line.find('\n') == line.size() - 1, "the document has one line", line);
  const std::string error = schema.error_in(parsed(line));
  expect_that(error.empty(), "the document fits its schema", error + "\n" + line);
}

// --- tables ----------------------------------------------------------------------------------------------------------

struct Cell {
  std::string text;
  bool quoted = false;
};

/// Divides a row into cells by RFC 4180.
std::vector<Cell> cells_of(std::string_view row) {
  std::vector<Cell> cells(1);
  bool inside = false;
  for (std::size_t i = 0; i < row.size(); i++) {
    Cell& cell = cells.back();
    if (row[i] == '"' && inside && i + 1 < row.size() && row[i + 1] == '"') {
      cell.text += '"';
      i++;
    } else if (row[i] == '"') {
      expect_that(inside || cell.text.empty(), "a quotation mark begins or ends a cell", row);
      inside = !inside;
      cell.quoted = true;
    } else if (row[i] == ',' && !inside) {
      cells.emplace_back();
    } else {
      cell.text += row[i];
    }
  }
  expect_that(!inside, "a quoted cell ends", row);
  return cells;
}

/// Returns whether a spreadsheet would calculate a cell.
bool is_formula(std::string_view cell) {
  cell.remove_prefix(std::min(cell.find_first_not_of(" \"\t"), cell.size()));
  if (readers::parse_number(cell)) return false;
  for (const std::string_view sign : {"=", "+", "-", "@", "\uFF1D", "\uFF0B", "\uFF0D", "\uFF20"}) {
    if (cell.starts_with(sign)) return true;
  }
  return false;
}

/// Expects that no cell is a formula, also if semicolons separate cells and quotation marks do not prevent this.
void expect_no_formula(std::string_view row) {
  for (const Cell& cell : cells_of(row)) {
    expect_that(!is_formula(cell.text), "no cell is a formula", cell.text);
    expect_that(cell.text != "nan" && cell.text != "inf" && cell.text != "-inf", "a number is finite", row);
  }
  for (std::size_t at = row.find(';'); at != row.npos; at = row.find(';', at + 1)) {
    const std::string_view rest = row.substr(at + 1);
    expect_that(!is_formula(rest.substr(0, rest.find(';'))), "nothing after a semicolon is a formula", row);
  }
}

void expect_table(const readers::Record& record, const analysis::Analysis& analysis) {
  const std::string table = outputs::csv_of(record, analysis);
  expect_inert_lines(table);
  readers::Lines lines(table);
  const std::size_t columns = cells_of(*lines.next()).size();
  while (const auto row = lines.next()) {
    expect_that(cells_of(*row).size() == columns, "each row has as many cells as the heading", *row);
    expect_no_formula(*row);
  }
}

// --- figures ---------------------------------------------------------------------------------------------------------

/// Walks through XML of the kind that the figure uses: elements, attributes in quotation marks and five entities.
class Xml {
 public:
  Xml(std::string_view text, bool odd_words) : text_(text), odd_words_(odd_words) {}

  void expect_well_formed() {
    while (at_ < text_.size()) {
      if (text_[at_] == '<') {
        element();
      } else {
        character_data();
      }
    }
    expect_that(open_.empty() && elements_ > 0, "all elements are closed", text_);
  }

 private:
  void character_data() {
    const std::size_t end = std::min(text_.find('<', at_), text_.size());
    const std::string_view data = text_.substr(at_, end - at_);
    expect_that(!open_.empty() || data.find_first_not_of(" \n") == data.npos, "text is within an element", data);
    expect_entities(data);
    if (!odd_words_) expect_that(!has_no_number(data), "the figure's words have finite numbers only", data);
    at_ = end;
  }

  static void expect_entities(std::string_view data) {
    for (std::size_t at = data.find('&'); at != data.npos; at = data.find('&', at + 1)) {
      const std::string_view rest = data.substr(at);
      const bool known = rest.starts_with("&amp;") || rest.starts_with("&lt;") || rest.starts_with("&gt;") ||
                         rest.starts_with("&quot;") || rest.starts_with("&#39;") || rest.starts_with("&apos;");
      expect_that(known, "an ampersand begins an entity", rest);
    }
  }

  void element() {
    const std::size_t end = text_.find('>', at_);
    expect_that(end != text_.npos, "a tag ends", text_.substr(at_));
    std::string_view tag = text_.substr(at_ + 1, end - at_ - 1);
    at_ = end + 1;
    if (tag.starts_with('/')) {
      expect_that(!open_.empty() && open_.back() == tag.substr(1), "a tag closes the last element", tag);
      open_.pop_back();
      return;
    }
    elements_++;
    const bool empty = tag.ends_with('/');
    if (empty) tag.remove_suffix(1);
    const std::string_view name = tag.substr(0, tag.find_first_of(" \n"));
    expect_that(!name.empty(), "an element has a name", tag);
    attributes(tag.substr(name.size()));
    if (!empty) open_.emplace_back(name);
  }

  static void attributes(std::string_view rest) {
    const auto skip = [&] { rest.remove_prefix(std::min(rest.find_first_not_of(" \n"), rest.size())); };
    for (skip(); !rest.empty(); skip()) {
      const std::size_t equals = rest.find("=\"");
      expect_that(equals != rest.npos && equals > 0, "an attribute has a value", rest);
      const std::size_t end = rest.find('"', equals + 2);
      expect_that(end != rest.npos, "an attribute's value ends", rest);
      const std::string_view value = rest.substr(equals + 2, end - equals - 2);
      expect_that(value.find('<') == value.npos, "an attribute has no element", value);
      expect_entities(value);
      expect_coordinates(value);
      rest.remove_prefix(end + 1);
    }
  }

  /// In paths, a number may follow its command without a blank.
  static void expect_coordinates(std::string_view value) {
    expect_that(value.find("nan") == value.npos && value.find("inf") == value.npos, "a coordinate is finite", value);
  }

  std::string_view text_;
  bool odd_words_;
  std::size_t at_ = 0;
  std::size_t elements_ = 0;
  std::vector<std::string> open_;
};

/// Makes a figure or a page. A record that cannot be drawn may be refused.
template <typename Draw>
void draw(Draw draw) {
  try {
    draw();
  } catch (const outputs::Undrawable& error) {
    expect_inert_lines(error.what());
  }
}

void expect_figures(const readers::Record& record, const analysis::Analysis& analysis, const analysis::Curves& curves,
                    bool odd_words) {
  const std::size_t figures = std::clamp<std::size_t>(analysis.found.events.size(), 1, 3);
  for (std::size_t event = 0; event < figures; event++) {
    draw([&] {
      const std::string figure = outputs::svg_of(outputs::figure_of(record, analysis, curves, event));
      Xml(figure, odd_words).expect_well_formed();
    });
  }
}

// --- pages -----------------------------------------------------------------------------------------------------------

#ifdef DIPX_HAS_PAGE
std::size_t count_of(std::string_view text, std::string_view word) {
  std::size_t count = 0;
  for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + word.size())) count++;
  return count;
}

/// Returns the content of a script with data.
std::string_view data_of(std::string_view page, const std::string& id) {
  const std::string start = "<script id=\"" + id + "\" type=\"application/json\">";
  const std::size_t begin = page.find(start);
  expect_that(begin != page.npos, "the page has its data", id);
  const std::size_t end = page.find("</script>", begin);
  return page.substr(begin + start.size(), end - begin - start.size());
}

void expect_page(const readers::Record& record, const analysis::Analysis& analysis, const analysis::Curves& curves) {
  static const std::size_t begins = count_of(outputs::page_template, "<script");
  static const std::size_t ends = count_of(outputs::page_template, "</script");
  draw([&] {
    const std::string page = outputs::page_of(record, analysis, curves);
    expect_that(count_of(page, "<script") == begins && count_of(page, "</script") == ends,
                "the page has the scripts of its template");
    const std::string_view document = data_of(page, "document");
    expect_that(document.find('<') == document.npos && document.starts_with('{'), "the page has a document", document);
    const json samples = parsed(data_of(page, "samples"));
    for (const char* member : {"start_s", "rate", "count"}) {
      expect_that(samples[member].is_number(), "the page's data have finite numbers only", member);
    }
    for (const auto& view : samples["views"]) {
      expect_that(view[0].is_number() && view[1].is_number(), "an event is shown in finite time", view.dump());
    }
  });
}
#endif

}  // namespace

void expect_inert_lines(std::string_view text) {
  readers::Lines lines(text);
  while (const auto line = lines.next()) {
    expect_that(readers::inert(*line) == *line, "a text is safe to show", *line);
  }
}

void expect_shown_record(const readers::Record& record) {
  expect_inert_lines(outputs::info_text(record));
  parsed(outputs::info_json(record));
}

void expect_shown(const readers::Record& record, const analysis::Analysis& analysis) {
  const bool odd_words = has_odd_words(record);
  expect_text(record, analysis, odd_words);
  expect_document(record, analysis);
  expect_table(record, analysis);
  const analysis::Curves curves = analysis::curves_of(analysis);
  expect_figures(record, analysis, curves, odd_words);
#ifdef DIPX_HAS_PAGE
  expect_page(record, analysis, curves);
#endif
}

}  // namespace fuzz
