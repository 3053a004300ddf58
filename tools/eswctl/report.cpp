// SPDX-License-Identifier: LGPL-2.1-or-later
#include "eswctl/report.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include <fmt/format.h>

namespace eswctl {
namespace {

std::string cell(const Json &value)
{
    if (value.is_null())
        return "-";
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_string())
        return value.get<std::string>();
    if (!value.is_array())
        return value.dump();
    std::string joined;
    for (const Json &item : value)
        joined += (joined.empty() ? "" : ",") + cell(item);
    return joined.empty() ? "-" : joined;
}

std::string title(const Column &column)
{
    return column.unit.empty()
               ? column.title
               : fmt::format("{}{}[{}]", column.title, column.title.empty() ? "" : " ", column.unit);
}

Json member(const Json &object, const std::string &key)
{
    return key.starts_with('/') ? object.value(Json::json_pointer(key), Json()) : object.value(key, Json());
}

// Numbers stand on the right, and what is missing in their place.
bool is_numeric(const Json &rows, const std::string &key)
{
    return std::ranges::all_of(rows, [&](const Json &row) {
        const Json value = member(row, key);
        return value.is_number() || value.is_null();
    });
}

constexpr size_t narrowest = 12; // that a column gets when a table is cut to a terminal's width

size_t width_of(const std::vector<size_t> &widths, size_t gap)
{
    return std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
}

// Takes from the widest texts what does not fit; numbers stay whole.
void narrow(std::vector<size_t> &widths, const std::vector<bool> &right, size_t gap, size_t columns)
{
    while (width_of(widths, gap) > columns) {
        size_t *widest = nullptr;
        for (size_t i = 0; i < widths.size(); ++i) {
            if (!right[i] && widths[i] > narrowest && (!widest || widths[i] > *widest))
                widest = &widths[i];
        }
        if (!widest)
            return;
        --*widest;
    }
}

// Cuts off what fits, behind a blank or comma where there is one.
std::string take_line(std::string &text, size_t width)
{
    size_t end = text.size();
    if (end > width) {
        end = text.find_last_of(" ,", width - 1);
        end = end == std::string::npos ? width : end + 1;
    }
    return std::exchange(text, text.substr(end)).substr(0, end);
}

std::string row_text(std::vector<std::string> cells, const std::vector<size_t> &widths,
                     const std::vector<bool> &right, size_t gap)
{
    std::string text;
    do {
        std::string line;
        for (size_t i = 0; i < cells.size(); ++i) {
            const std::string part = take_line(cells[i], widths[i]);
            const std::string rest(widths[i] - part.size(), ' ');
            line += (right[i] ? rest + part : part + rest) + std::string(gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    } while (!std::ranges::all_of(cells, &std::string::empty));
    return text;
}

std::string table_text(const Section &section, const Json &rows, size_t columns)
{
    if (rows.empty())
        return section.when_empty.empty() ? "" : section.when_empty + '\n';
    std::vector<std::vector<std::string>> lines(1);
    std::vector<size_t> widths;
    std::vector<bool> right;
    for (const Column &column : section.columns) {
        lines[0].push_back(title(column));
        widths.push_back(lines[0].back().size());
        right.push_back(is_numeric(rows, column.key));
    }
    for (const Json &row : rows) {
        std::vector<std::string> &cells = lines.emplace_back();
        for (size_t i = 0; i < section.columns.size(); ++i) {
            cells.push_back(cell(member(row, section.columns[i].key)));
            widths[i] = std::max(widths[i], cells.back().size());
        }
    }
    const size_t gap = width_of(widths, 2) > columns ? 1 : 2;
    narrow(widths, right, gap, columns);
    std::string text;
    for (const auto &cells : lines)
        text += row_text(cells, widths, right, gap);
    return text;
}

std::string record_text(const Section &section, const Json &value)
{
    size_t width = 0;
    for (const Column &column : section.columns)
        width = std::max(width, column.title.size());
    std::string text;
    for (const Column &column : section.columns) {
        const Json shown = member(value, column.key);
        const std::string unit = column.unit.empty() || shown.is_null() ? "" : ' ' + column.unit;
        text += fmt::format("{:<{}}  {}{}\n", column.title, width, cell(shown), unit);
    }
    return text;
}

} // namespace

void append_elements(std::vector<Column> &columns, const std::string &array, const std::string &title,
                     unsigned count)
{
    for (unsigned i = 0; i < count; ++i)
        columns.push_back({fmt::format("/{}/{}", array, i), (i == 0 ? title : "") + std::to_string(i)});
}

Report table(const std::string &key, std::vector<Column> columns, Json rows, const std::string &when_empty)
{
    Report report;
    report.value[key] = std::move(rows);
    report.sections.push_back({key, std::move(columns), when_empty});
    return report;
}

Report record(std::vector<Column> columns, Json value)
{
    return {std::move(value), {{"", std::move(columns)}}};
}

Report done(const std::string &sentence, Json value) { return {std::move(value), {}, sentence}; }

Report changed(const std::string &sentence, const Report &state) { return done(sentence, state.value); }

std::string as_text(const Report &report, size_t columns)
{
    std::string text = report.text;
    for (const Section &section : report.sections) {
        const Json value = section.key.empty() ? report.value : member(report.value, section.key);
        text += (text.empty() ? "" : "\n");
        text += value.is_array() ? table_text(section, value, columns) : record_text(section, value);
    }
    return report.sentence.empty() ? text : text + report.sentence + '\n';
}

std::string as_json(const Report &report)
{
    return report.value.dump(report.one_of_many ? -1 : 2, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace eswctl
