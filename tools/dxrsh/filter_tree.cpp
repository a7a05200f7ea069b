#include "filter_tree.h"

#include <fmt/format.h>

#include <cstring>
#include <list>
#include <memory>
#include <nlohmann/json.hpp>
#include <tuple>
#include <vector>

#include "errors.h"
#include "file_io.h"
#include "json_input.h"
#include "numbers.h"
#include "say.h"

namespace dxrsh {
namespace {

// Records of one level and of all below it. The records point into the levels.
struct Level {
    std::vector<DxrMessageFilterInfo> records;
    std::vector<std::unique_ptr<Level>> below;
};

Level ReadLevel(std::vector<JsonObject> rows, const std::string &file, size_t depth) {
    if (depth > kMostFilterLevels) {
        throw UsageError(
            fmt::format("{}: the tree has more than {} levels", file, kMostFilterLevels));
    }
    Level level;
    for (JsonObject &row : rows) {
        DxrMessageFilterInfo record{};
        record.msgType = row.Number("type");
        record.lostCnt = row.Number("lost", 0);
        const std::string name = row.Text("name", sizeof(record.name) - 1);
        std::memcpy(record.name, name.data(), name.size());
        std::vector<JsonObject> children;
        if (row.Has("filters")) {
            children = row.Objects("filters");
        }
        row.RefuseOtherKeys();
        if (!children.empty()) {
            level.below.push_back(
                std::make_unique<Level>(ReadLevel(std::move(children), file, depth + 1)));
            record.subFilters = level.below.back()->records.data();
            record.subFilterNum = static_cast<uint32_t>(level.below.back()->records.size());
        }
        level.records.push_back(record);
    }
    return level;
}

// The library reads as many of the types as it is told; those after them are there and unread.
template <typename Call>
auto WithTypes(const FilterPath &path, Call call) {
    return std::apply([&](auto... types) { return call(path.length, types...); }, path.types);
}

}  // namespace

FilterPath FilterPath::Parse(std::string_view text) {
    FilterPath path;
    if (text == "/") {
        return path;
    }
    for (const std::string_view piece : Split(text, '/')) {
        const uint32_t type = RequireNumber(piece, fmt::format("path '{}'", text));
        if (path.length == kMostFilterLevels) {
            throw UsageError(
                fmt::format("path '{}' has more than {} levels", text, kMostFilterLevels));
        }
        path.types[path.length] = type;
        ++path.length;
    }
    return path;
}

FilterTree::FilterTree(const std::string &file) {
    const nlohmann::json document = LoadJson(file);
    JsonObject top(document, InputName(file));
    std::vector<JsonObject> rows = top.Objects("filters");
    top.RefuseOtherKeys();
    const Level level = ReadLevel(std::move(rows), InputName(file), 1);
    static const DxrMessageFilterInfo kNoRecords{};
    root_ = DXR_CreateMessageFilter(level.records.empty() ? &kNoRecords : level.records.data(),
                                    static_cast<uint32_t>(level.records.size()));
}

void FilterTree::Set(const std::string &text, uint32_t count) {
    const FilterPath path = FilterPath::Parse(text);
    std::list<uint32_t> toFind(path.types.begin(), path.types.begin() + path.length);
    toFind.push_front(0);
    if (root_->Find(toFind) == nullptr) {
        throw UsageError(fmt::format("the tree has no node at '{}'", text));
    }
    WithTypes(path,
              [&](auto... arguments) { DXR_SetMessageFilterCount(root_, count, arguments...); });
    rootCount_ = path.length == 0 ? count : rootCount_;
}

bool FilterTree::IsFiltered(const std::string &text) {
    const FilterPath path = FilterPath::Parse(text);
    const bool isFiltered = WithTypes(
        path, [&](auto... arguments) { return DXR_IsMessageFiltered(root_, arguments...) != 0; });
    rootCount_ -= isFiltered && path.length == 0 ? 1 : 0;
    return isFiltered;
}

std::string FilterTree::Listing() const {
    std::string whole;
    root_->GetFilterStr(whole);
    std::vector<char> text(whole.size() + 1);
    DXR_GetMessageFilterStr(root_, text.data(), static_cast<uint32_t>(text.size()));
    const std::string root =
        rootCount_ == 0 ? "" : fmt::format("msgType[0], lostCnt[{}], name[root]\n", rootCount_);
    return root + PlainLines(text.data());
}

}  // namespace dxrsh
