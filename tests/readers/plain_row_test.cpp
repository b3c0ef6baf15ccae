// Tests that rows read in one pass have the values and the refusals of rows read cell by cell.
#include "readers/table/plain_row.h"

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "readers/table/written_times.h"
#include "readers/text.h"

namespace {

/// Returns the numbers of a row, or nothing if it is not plain; `after` becomes the number of characters read.
std::optional<std::vector<double>> numbers_of(const std::string& text, std::size_t columns,
                                              std::size_t* after = nullptr) {
  std::vector<readers::PlainCell> cells(columns);
  const char* end = readers::plain_row(text.data(), text.data() + text.size(), ';', cells);
  if (end == nullptr) return std::nullopt;
  if (after != nullptr) *after = static_cast<std::size_t>(end - text.data());
  std::vector<double> numbers;
  for (const auto& cell : cells) numbers.push_back(cell.number);
  return numbers;
}

TEST(PlainRow, EndsAtALineEndOrTheTextsEnd) {
  const std::vector<double> expected = {0.5, -2};
  for (const std::string row : {"0.5;-2\n", "0.5;-2\r\n", "0.5;-2", " 0.5 ; -2 \n", "5e-1;-2E0\n"}) {
    std::size_t after = 0;
    EXPECT_EQ(numbers_of(row, 2, &after), expected) << row;
    EXPECT_EQ(after, row.size());
    EXPECT_EQ(numbers_of(row + (row.ends_with('\n') ? "7;8\n" : ""), 2), expected) << "the next row is not read";
  }
}

TEST(PlainRow, LeavesAllElseToTheGeneralWay) {
  for (const std::string row :
       {"1;2;3\n",   "1\n",    "\n",        "",        "1;\n",     ";1\n",     "1;x\n", "1;0,5\n",
        "1;2 3\n",   "1;+2\n", "\"1\";2\n", "1;nan\n", "1;inf\n",  "1;-inf\n", "1;-\n", "1;.\n",
        "1;1e999\n", "1;1e\n", "1;2\r3\n",  "1;2\t\n", "1;0x10\n", "1.2.3;4\n"}) {
    EXPECT_EQ(numbers_of(row, 2), std::nullopt) << row;
  }
}

/// Writes numbers in every form of the field.
std::string written(std::mt19937& random) {
  const auto digits = [&](std::size_t most) {
    std::string text(random() % (most + 1), '0');
    for (char& c : text) c = static_cast<char>('0' + random() % 10);
    return text;
  };
  std::string text = (random() % 2 == 0 ? "-" : "") + digits(9);
  if (random() % 3 != 0) text += "." + digits(12);
  if (random() % 4 == 0) text += "e" + std::string(random() % 2 == 0 ? "-" : "") + digits(3);
  return text;
}

TEST(PlainRow, HasTheNumbersThatTheCellsHave) {
  std::mt19937 random(7);
  int plain = 0;
  for (int i = 0; i < 100000; i++) {
    const std::string cell = written(random);
    const auto expected = readers::parse_number(cell);
    const auto numbers = numbers_of(cell + '\n', 1);
    if (numbers) {
      ASSERT_TRUE(expected) << cell;
      ASSERT_EQ((*numbers)[0], *expected) << cell;
      plain++;
    }
  }
  EXPECT_GT(plain, 80000) << "most numbers of these forms are read in one pass";
}

TEST(WrittenDigits, AreTheSameForPlainNumbers) {
  std::mt19937 random(11);
  for (int i = 0; i < 20000; i++) {
    const std::string cell = written(random);
    if (cell.find_first_of("e") != cell.npos || cell.find_first_of("0123456789") == cell.npos) continue;
    readers::WrittenDigits one;
    readers::WrittenDigits other;
    one.take(cell);
    other.take_plain(cell);
    ASSERT_EQ(one.least_rounding(), other.least_rounding()) << cell;
    for (const double number : {0.001, 1.0, 123456.0}) ASSERT_EQ(one.rounding(number), other.rounding(number)) << cell;
  }
}

}  // namespace
