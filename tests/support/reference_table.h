// Reference tables in tests/data: tab-separated values made by the
// generator scripts in tools/ from independent programs.
#ifndef KGRQT_TEST_REFERENCE_TABLE_H
#define KGRQT_TEST_REFERENCE_TABLE_H

#include <fstream>
#include <string>
#include <vector>

struct ReferenceLine {
    int line; // in the file, for failure messages
    std::vector<std::string> fields;
};

// The rows of a table under tests/data, blank and "#" lines skipped.
inline std::vector<ReferenceLine> readReferenceTable(const std::string& name)
{
    std::ifstream in(std::string(KGRQT_TEST_DATA) + "/" + name);
    std::vector<ReferenceLine> rows;
    std::string text;
    for (int line = 1; std::getline(in, text); ++line) {
        if (text.empty() || text[0] == '#')
            continue;
        ReferenceLine row{line, {}};
        for (size_t start = 0;;) {
            size_t tab = text.find('\t', start);
            row.fields.push_back(text.substr(start, tab - start));
            if (tab == std::string::npos)
                break;
            start = tab + 1;
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

#endif
