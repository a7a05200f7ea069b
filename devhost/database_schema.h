// The tables of the chassis database, and a sample of it.
#ifndef DXR_DEVHOST_DATABASE_SCHEMA_H
#define DXR_DEVHOST_DATABASE_SCHEMA_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace devhost {

constexpr uint32_t kSchemaVersion = 1;
constexpr size_t kMostColumns = 7;

// A table, in the order of DXR_HOST_DB_...: its columns are the fields of its record.
struct Table {
    const char *name;
    const char *key;
    std::array<const char *, kMostColumns> columns;  // null after the last one
    size_t columnCount;
};

// Null when there is no table of that number.
const Table *FindTable(uint32_t number);

// SQL that makes the tables and fills them with the sample chassis.
extern const char *const kSampleChassis;

}  // namespace devhost

#endif  // DXR_DEVHOST_DATABASE_SCHEMA_H
