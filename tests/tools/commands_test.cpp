// SPDX-License-Identifier: LGPL-2.1-or-later
// Each row of commands/*.table is a command line and what comes of it:
//
//   AB 0 port enable 0,8            | ports 0,8: enabled     class A and class B, exit code 0, all output
//    B 0 port show 0,1              ~    0  yes              a part of the output
//                                   ~    1  yes              its next line
//   AB 2 port enable 2              ! PORT: '2' is not       a part of standard error
//   AB 0 --link 0=down @ link show  ~ down                   with options of the launcher
//   AB 0 batch - < show\ninfo       ~ class                  with standard input
//
// Without | or ~ there is no output, without ! no error. A % begins the name of a scratch file. The rows of a
// table run one behind the other on one board, and as JSON on a second one.
#include "tests/tools/eswctl_test.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include <fmt/format.h>

#include "tests/tools/schema.h"

namespace test {
namespace {

struct Row {
    std::string classes;
    int code = -1;
    std::string launcher;
    std::string line;
    std::string input;
    std::map<char, std::string> expected; // by mark

    [[nodiscard]] bool whole() const { return expected.contains('|'); }
    [[nodiscard]] bool prints() const { return whole() || expected.contains('~'); }
    [[nodiscard]] bool prints_json() const
    {
        return code == 0 && line.find("help") == std::string::npos && line != "--version";
    }
    void expect(char mark, const std::string &text)
    {
        std::string &all = expected[mark];
        all += mark == '|' ? text + '\n' : (all.empty() ? "" : "\n") + text;
    }
};

std::string replaced(std::string text, const std::string &what, const std::string &by)
{
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += by.size())
        text.replace(at, what.size(), by);
    return text;
}

// What is behind the separator, which is cut off with it; "" without one.
std::string cut(std::string &text, const std::string &separator)
{
    const size_t at = std::min(text.find(separator), text.size());
    const std::string rest = text.substr(std::min(at + separator.size(), text.size()));
    text.erase(at);
    return rest;
}

Row parse_row(std::string text)
{
    Row row;
    text.erase(text.find_last_not_of(' ') + 1);
    row.input = replaced(cut(text, " < "), "\\n", "\n");
    std::istringstream stream(text);
    const bool begins_well = static_cast<bool>(stream >> row.classes >> row.code);
    EXPECT_TRUE(begins_well && row.classes.find_first_not_of("AB") == std::string::npos) << text;
    std::getline(stream >> std::ws, row.launcher);
    row.line = cut(row.launcher, " @ ");
    if (row.line.empty())
        row.line.swap(row.launcher);
    return row;
}

std::vector<Row> rows_of(const std::string &table, const std::string &scratch = "")
{
    std::ifstream file(fmt::format("{}/{}.table", TABLES, table));
    std::vector<Row> rows;
    for (std::string text; std::getline(file, text);) {
        if (text.empty() || text.starts_with('#'))
            continue;
        text += ' ';
        text = replaced(text, "%", scratch);
        const size_t mark = std::min({text.find(" | "), text.find(" ~ "), text.find(" ! ")});
        if (text.find_first_not_of(' ') < mark)
            rows.push_back(parse_row(text.substr(0, mark)));
        rows.at(rows.size() - 1).expect(text.at(mark + 1), text.substr(mark + 3, text.size() - mark - 4));
    }
    return rows;
}

std::vector<std::string> tables()
{
    std::vector<std::string> names;
    for (const auto &file : std::filesystem::directory_iterator(TABLES))
        names.push_back(file.path().stem());
    return names;
}

void expect_part(const std::string &part, const std::string &got)
{
    EXPECT_THAT(got, testing::HasSubstr(part));
    EXPECT_EQ(got.empty(), part.empty()) << got;
}

class Commands : public Eswctl, public testing::WithParamInterface<std::tuple<std::string, char>> {
protected:
    void expect_text(Row row, const std::string &launcher)
    {
        board_ = "text";
        const Finished got = eswctl(row.line, launcher, row.input);
        EXPECT_EQ(got.code, row.code) << got.error;
        expect_part(row.expected[row.whole() ? '|' : '~'], got.out);
        expect_part(row.expected['!'], got.error);
        EXPECT_TRUE(!row.whole() || got.out == row.expected['|']) << got.out;
    }

    void expect_json(const Row &row, const std::string &launcher)
    {
        board_ = "json";
        const Finished got = eswctl("--json " + row.line, launcher, row.input);
        EXPECT_EQ(got.code, row.code) << got.error;
        EXPECT_EQ(row.prints_json() ? schema_fault(row.line, got.out) : "", "");
        EXPECT_TRUE(row.code == 0 || got.out.empty() != row.prints()) << got.out;
    }
};

TEST_P(Commands, DoAndSayWhatTheTableHas)
{
    const auto &[table, letter] = GetParam();
    for (const Row &row : rows_of(table, scratch(""))) {
        if (row.classes.find(letter) == std::string::npos)
            continue;
        SCOPED_TRACE(row.line + row.input);
        const bool other = row.launcher.find("--device") != std::string::npos;
        const std::string device = other ? "" : letter == 'A' ? "--device 0x11140 " : "--device 0x2404 ";
        expect_text(row, device + row.launcher);
        expect_json(row, device + row.launcher);
    }
}

INSTANTIATE_TEST_SUITE_P(Tables, Commands,
                         testing::Combine(testing::ValuesIn(tables()), testing::Values('A', 'B')),
                         [](const auto &test) {
                             return fmt::format("{}_{}", std::get<0>(test.param), std::get<1>(test.param));
                         });

TEST(CommandTables, LeaveNoCommandOut)
{
    std::set<std::string> missing = commands_with_schema();
    for (const char *waiting :
         {"link watch", "confirm", "rollback"}) // see eswctl_test.cpp and restore_test.cpp
        missing.erase(waiting);
    for (const std::string &table : tables()) {
        for (const Row &row : rows_of(table)) {
            if (row.prints_json())
                missing.erase(command_of("--json " + row.line));
        }
    }
    EXPECT_THAT(missing, testing::IsEmpty());
}

} // namespace
} // namespace test
