// Tab-separated tables whose first line names the columns.
#pragma once

#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

using Row = std::map<std::string, std::string>;

inline std::vector<Row> ReadTable(const std::string& path)
{
    const auto cells = [](const std::string& line) {
        std::vector<std::string> found;
        std::istringstream stream(line + "\t");
        for (std::string cell; std::getline(stream, cell, '\t');)
            found.push_back(cell);
        return found;
    };
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    const auto names = cells(line);
    std::vector<Row> rows;
    while (std::getline(file, line)) {
        const auto values = cells(line);
        Row row;
        for (std::size_t k = 0; k < names.size() && k < values.size(); ++k)
            row[names[k]] = values[k];
        rows.push_back(row);
    }
    return rows;
}
