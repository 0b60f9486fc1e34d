#pragma once

#include <string>
#include <vector>

/// A mapping database in a file of its own, made through SQLite as any maker of mappings would and
/// removed with the object. It starts with both mapping tables, empty. The cells are given as SQL
/// values in the order of the columns, so that a test shows exactly what stands in the file.
class MappingFile
{
public:
    MappingFile();
    ~MappingFile();
    MappingFile(const MappingFile &) = delete;
    MappingFile &operator=(const MappingFile &) = delete;

    [[nodiscard]] const char *path() const { return _path.c_str(); }

    /// Runs any statement; fails the test when SQLite refuses it.
    void run(const std::string &statement) const;
    /// e.g. addScalar("'101', 0, 0, '4', '1', 1, 2, 3, 0, '0', '0', NULL, '0'")
    void addScalar(const std::string &cells) const;
    void addCell(const std::string &cells) const;
    /// A scalar by what matters: hexadecimal id, type, access and conversion; arcs as decimals.
    void addScalar(const std::string &objId, const std::string &asnType, const std::string &access,
                   int arc1, int arc2, int arc3, const std::string &valueType = "0") const;
    /// A cell by what matters: hexadecimal id and conversion; type and access in decimal.
    void addCell(const std::string &objId, const std::string &node, int column, int row,
                 int asnType, int access, const std::string &valueType = "0") const;
    void dropTable(const std::string &name) const;

private:
    std::string _path;
};
