#include "archive/analysed_record.h"

#include <utility>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/record_voltages.h"
#include "analysis/refusal.h"
#include "archive/record_rows.h"
#include "readers/text.h"

namespace archive {

namespace {

class OneRecord {
 public:
  OneRecord(const RecordIdentity& identity, const RecordAnalysis& how) : identity_(identity), how_(how) {}

  void analyse(readers::RecordContents contents) {
    readers::OpenOptions open = how_.open;
    open.wanted = [this](const readers::Record& record) {
      return analysis::voltages_to_read(record, how_.options.choice);
    };
    readers::Record record = readers::open_contents(std::move(contents), open);
    analysis::keep_stretch(record, how_.stretch);
    analysis::RecordVoltages voltages(record, how_.options.choice);
    if (!how_.all_sets && !how_.all_parts) {
      analyse(voltages, how_.options);
      return;
    }
    for (const auto& [set, part] : analysis::all_of(voltages, how_.options.choice, how_.all_sets, how_.all_parts)) {
      analysis::AnalysisOptions options = how_.options;
      options.choice.set = set;
      options.choice.part = part;
      try {
        analyse(voltages, options);
      } catch (const analysis::Refusal& refusal) {
        refuse(part, set, reason_not_analysable, refusal.what());
      }
    }
  }

  void refuse(std::size_t part, std::size_t set, const char* reason, const std::string& message) {
    refusals_.rows.push_back(refusal_row(identity_, part, set, reason, message));
  }

  /// Removes the rows of sets and parts that were analysed before the whole record was refused.
  void forget() {
    columns_.clear();
    for (TableRows* table : {&events_, &segments_, &refusals_}) table->rows.clear();
  }

  [[nodiscard]] std::vector<TableRows> rows(const Origin& origin) && {
    TableRows analyses{&analyses_table(), {analysis_row(identity_, origin, columns_)}};
    return {std::move(analyses), std::move(events_), std::move(segments_), std::move(refusals_)};
  }

 private:
  void analyse(analysis::RecordVoltages& voltages, const analysis::AnalysisOptions& options) {
    const analysis::Analysis analysis = analysis::analyse(voltages, options);
    if (columns_.empty()) columns_ = record_columns(voltages.record(), analysis);
    add_findings(voltages.record(), analysis, identity_.analysis, events_, segments_);
  }

  const RecordIdentity& identity_;
  const RecordAnalysis& how_;
  Row columns_;
  TableRows events_{&events_table(), {}};
  TableRows segments_{&segments_table(), {}};
  TableRows refusals_{&refusals_table(), {}};
};

}  // namespace

Row analysis_row(const RecordIdentity& identity, const Origin& origin, const Row& columns) {
  Row row = {identity.analysis,
             identity.sha256,
             origin.parameters,
             origin.version,
             std::string(columns.empty() ? "refused" : "analysed"),
             readers::inert(identity.file)};
  if (columns.empty()) {
    row.resize(analyses_table().columns.size());
    constexpr std::size_t site = 9;
    row[site] = std::string();
    return row;
  }
  row.insert(row.end(), columns.begin(), columns.end());
  return row;
}

Row refusal_row(const RecordIdentity& identity, std::size_t part, std::size_t set, const std::string& reason,
                const std::string& message) {
  return {identity.analysis, whole(part), whole(set), reason, readers::inert(message), readers::inert(identity.file)};
}

std::vector<TableRows> analysed_rows(readers::RecordContents contents, const RecordIdentity& identity,
                                     const RecordAnalysis& how, const Origin& origin) {
  OneRecord record(identity, how);
  const auto refuse = [&](const char* reason, const char* message) {
    record.forget();
    record.refuse(0, 0, reason, message);
  };
  try {
    record.analyse(std::move(contents));
  } catch (const readers::ReadError& error) {
    refuse(reason_unreadable, error.what());
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    refuse(reason_not_analysable, error.what());
  }
  return std::move(record).rows(origin);
}

}  // namespace archive
