#pragma once

#include <string>
#include <vector>

/// A mapping database in a file of its own, written through SQLite as an author of mappings would
/// and removed with the object. It starts with both mapping tables, empty. Cells are given as SQL
/// values in column order, so that a test shows exactly what is in the file.
class MappingFile
{
public:
    MappingFile();
    ~MappingFile();
    MappingFile(const MappingFile &) = delete;
    MappingFile &operator=(const MappingFile &) = delete;

    [[nodiscard]] const char *path() const { return _path.c_str(); }

    /// Runs any statement; fails the test if SQLite rejects it.
    void run(const std::string &statement) const;
    /// e.g. addScalar("'101', 0, 0, '4', '1', 1, 2, 3, 0, '0', '0', NULL, '0'")
    void addScalar(const std::string &cells) const;
    void addCell(const std::string &cells) const;
    /// A scalar with the fields that matter: hexadecimal id, type, access and conversion; decimal
    /// arcs.
    void addScalar(const std::string &objId, const std::string &asnType, const std::string &access,
                   int arc1, int arc2, int arc3, const std::string &valueType = "0") const;
    /// A cell with the fields that matter: hexadecimal id and conversion; decimal type and access.
    void addCell(const std::string &objId, const std::string &node, int column, int row,
                 int asnType, int access, const std::string &valueType = "0") const;
    void dropTable(const std::string &name) const;

private:
    std::string _path;
};
