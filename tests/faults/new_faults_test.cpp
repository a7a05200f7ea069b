// Every use of operator new by the library is made to fail in turn, once and from then on: the
// message filter tree and the fault rules. The exception that leaves is std::bad_alloc, what is
// left is what the header says, and a twin that never failed answers alike afterwards.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "dxr/fault.h"
#include "dxr/message_filter.h"
#include "support/message_filter_records.h"
#include "support/new_watch.h"
#include "support/test_host.h"

namespace {

using Dxr::MessageFilterComponent;
using Dxr::MessageFilterComposite;
using Dxr::MessageFilterLeaf;
using dxrtest::FilterNode;
using dxrtest::FilterRecords;
using dxrtest::NewWatch;
using dxrtest::Outcome;
using dxrtest::RunFailing;

// The same name with and without a block of its own in a string.
const std::string kShort = "n";
const std::string kLong(31, 'n');

std::string Listing(const MessageFilterComponent &node) {
    std::string text;
    node.GetFilterStr(text);
    return text;
}

// Whether `part` is the beginning of `whole`, between two lines.
bool IsBeginning(const std::string &part, const std::string &whole) {
    return whole.compare(0, part.size(), part) == 0 && (part.empty() || part.back() == '\n');
}

class NewFaults : public testing::Test {
  protected:
    NewFaults() : random_(dxrtest::Seed()) {}
    ~NewFaults() override {
        std::printf("%zu calls, %zu failures of operator new\n", calls_, failures_);
    }

    // Fails each allocation of `action`, which `arrange` precedes each time; `check` looks at what
    // it left. The last time nothing fails and `done` looks.
    void FailEach(const std::function<void()> &arrange, const std::function<void()> &action,
                  const std::function<void(size_t n)> &check, const std::function<void()> &done) {
        ++calls_;
        for (const bool fromThenOn : {false, true}) {
            for (size_t n = 1;; ++n) {
                SCOPED_TRACE("allocation " + std::to_string(n) +
                             (fromThenOn ? " and all after it" : " once"));
                arrange();
                const Outcome outcome = RunFailing(n, action, fromThenOn);
                if (!NewWatch::Failed()) {
                    EXPECT_EQ(outcome, Outcome::kDone);
                    done();
                    break;
                }
                EXPECT_EQ(outcome, Outcome::kBadAlloc);
                ++failures_;
                check(n);
                if (HasFailure()) {
                    return;
                }
            }
        }
    }

    uint32_t Below(uint32_t bound) {
        return std::uniform_int_distribution<uint32_t>(0, bound - 1)(random_);
    }

    // Some rows of nodes, some with names that need a block of their own.
    std::vector<FilterNode> Forest(uint32_t depth) {
        std::vector<FilterNode> nodes;
        for (uint32_t i = Below(6) + 1; i > 0; --i) {
            FilterNode node = {Below(2) == 0 ? kShort : kLong, Below(4), Below(3)};
            if (depth > 1 && Below(2) == 0) {
                node.children = Forest(depth - 1);
            }
            nodes.push_back(std::move(node));
        }
        return nodes;
    }

    size_t failures_ = 0;

  private:
    std::mt19937_64 random_;
    size_t calls_ = 0;
};

TEST_F(NewFaults, CreateMessageFilter) {
    for (int tree = 0; tree < 30; ++tree) {
        const FilterRecords records(Forest(4));
        DxrMessageFilter *filter = DXR_CreateMessageFilter(records.Data(), records.Size());
        const std::string whole = Listing(*filter);
        DXR_DestroyMessageFilter(&filter);
        FailEach([] {}, [&] { filter = DXR_CreateMessageFilter(records.Data(), records.Size()); },
                 [&](size_t n) {
                     EXPECT_EQ(filter, nullptr);
                     // The root is the first block. Nobody holds it any more, as documented.
                     if (n == 1) {
                         EXPECT_EQ(NewWatch::Live(), 0U);
                         return;
                     }
                     auto *lost = static_cast<MessageFilterComposite *>(NewWatch::Oldest());
                     ASSERT_EQ(typeid(*lost), typeid(MessageFilterComposite));
                     const std::string part = Listing(*lost);
                     EXPECT_TRUE(part != whole && IsBeginning(part, whole)) << part;
                     delete lost;
                     EXPECT_EQ(NewWatch::Live(), 0U) << "beside what stood of the tree";
                 },
                 [&] {
                     EXPECT_EQ(Listing(*filter), whole);
                     DXR_DestroyMessageFilter(&filter);
                     EXPECT_EQ(NewWatch::Live(), 0U);
                 });
    }
    EXPECT_GT(failures_, 1000U);
}

TEST_F(NewFaults, AddMessageFilterToComposite) {
    for (uint32_t tree = 0; tree < 30; ++tree) {
        std::vector<FilterNode> forest = Forest(4);
        // With and without room for one child more.
        forest.resize(1);
        const FilterRecords records(forest);
        std::unique_ptr<MessageFilterComposite> parent;
        std::string before;
        const auto arrange = [&] {
            parent = std::make_unique<MessageFilterComposite>(kLong, 50, 0, 2);
            for (uint32_t i = 0; i < tree % 9; ++i) {
                parent->Add(new MessageFilterLeaf(kShort, 60 + i, 1, 3));
            }
            before = Listing(*parent);
        };
        arrange();
        DxrAddMessageFilterToComposite(parent.get(), records.Data());
        const std::string whole = Listing(*parent);
        FailEach(
            arrange, [&] { DxrAddMessageFilterToComposite(parent.get(), records.Data()); },
            [&](size_t) {
                const std::string left = Listing(*parent);
                EXPECT_TRUE(IsBeginning(left, whole)) << left;
                EXPECT_TRUE(IsBeginning(before, left)) << left;
                for (uint32_t i = 0; i < tree % 9; ++i) {
                    std::list<uint32_t> path = {50, 60 + i};
                    EXPECT_TRUE(parent->IsFiltered(path));
                    EXPECT_EQ(path, std::list<uint32_t>({60 + i}));
                }
                parent.reset();
                EXPECT_EQ(NewWatch::Live(), 0U);
            },
            [&] { EXPECT_EQ(Listing(*parent), whole); });
    }
    EXPECT_GT(failures_, 500U);
}

TEST_F(NewFaults, GetMessageFilterStr) {
    for (int tree = 0; tree < 30; ++tree) {
        const FilterRecords records(Forest(4));
        DxrMessageFilter *filter = DXR_CreateMessageFilter(records.Data(), records.Size());
        const std::string whole = Listing(*filter);
        for (const size_t room : {whole.size() + 1, whole.size(), size_t{10}}) {
            std::unique_ptr<dxrtest::GuardedBuffer> buffer;
            FailEach([&] { buffer = std::make_unique<dxrtest::GuardedBuffer>(room); },
                     [&] {
                         DXR_GetMessageFilterStr(filter, buffer->Data(),
                                                 static_cast<uint32_t>(room));
                     },
                     [&](size_t) {
                         EXPECT_TRUE(buffer->Untouched());
                         EXPECT_EQ(NewWatch::Live(), 0U);
                         EXPECT_EQ(Listing(*filter), whole);
                     },
                     [&] {
                         EXPECT_EQ(NewWatch::Live(), 0U);
                         EXPECT_TRUE(buffer->Intact() && buffer->Terminated());
                         EXPECT_EQ(buffer->Text() == whole, room > whole.size());
                     });
        }
        DXR_DestroyMessageFilter(&filter);
    }
    EXPECT_GT(failures_, 90U);
}

// The text that was there stays; of the listing a beginning may follow it.
TEST_F(NewFaults, GetFilterStrOfNodes) {
    for (int tree = 0; tree < 30; ++tree) {
        MessageFilterComposite composite(kLong, 9, 8, 1);
        const FilterRecords records(Forest(3));
        for (uint32_t i = 0; i < records.Size(); ++i) {
            DxrAddMessageFilterToComposite(&composite, records.Data() + i);
        }
        const MessageFilterLeaf leaf(kLong, 7, 6, 5);
        for (const MessageFilterComponent *const node :
             {static_cast<const MessageFilterComponent *>(&composite),
              static_cast<const MessageFilterComponent *>(&leaf)}) {
            const std::string whole = "before\n" + Listing(*node);
            auto text = std::make_unique<std::string>();
            FailEach([&] { text = std::make_unique<std::string>("before\n"); },
                     [&] { node->GetFilterStr(*text); },
                     [&](size_t) {
                         EXPECT_EQ(whole.compare(0, text->size(), *text), 0) << *text;
                         EXPECT_GE(text->size(), 7U);
                         text.reset();
                         EXPECT_EQ(NewWatch::Live(), 0U);
                         EXPECT_EQ("before\n" + Listing(*node), whole);
                     },
                     [&] {
                         EXPECT_EQ(*text, whole);
                         text.reset();
                         EXPECT_EQ(NewWatch::Live(), 0U);
                     });
        }
    }
    EXPECT_GT(failures_, 90U);
}

// A class of the host's own is asked by a list, whatever the library's are asked by.
class HostLeaf : public MessageFilterLeaf {
  public:
    using MessageFilterLeaf::MessageFilterLeaf;
};

// One path of 20 types, 1 to 20; and a leaf of type 30 beside its beginning.
DxrMessageFilter *Chain(bool withHostLeaf) {
    std::vector<FilterNode> chain = {{kShort, 20, 5}};
    for (uint32_t type = 19; type > 0; --type) {
        chain = {{kShort, type, 5, chain}};
    }
    chain.push_back({kShort, 30, 5});
    const FilterRecords records(chain);
    auto *const root = new MessageFilterComposite("root", 0, 0, 0);
    if (withHostLeaf) {
        root->Add(new HostLeaf(kShort, 99, 5, 1));
    }
    for (uint32_t i = 0; i < records.Size(); ++i) {
        DxrAddMessageFilterToComposite(root, records.Data() + i);
    }
    return root;
}

struct Query {
    const char *name;
    uint8_t (*ask)(DxrMessageFilter *filter);
    void (*set)(DxrMessageFilter *filter, uint32_t count);
};

const Query kQueries[] = {
    {"the root", [](DxrMessageFilter *filter) { return DXR_IsMessageFiltered(filter, 0); },
     [](DxrMessageFilter *filter, uint32_t count) { DXR_SetMessageFilterCount(filter, count, 0); }},
    {"one type", [](DxrMessageFilter *filter) { return DXR_IsMessageFiltered(filter, 1, 30U); },
     [](DxrMessageFilter *filter, uint32_t count) {
         DXR_SetMessageFilterCount(filter, count, 1, 30U);
     }},
    {"a type that is not there",
     [](DxrMessageFilter *filter) { return DXR_IsMessageFiltered(filter, 2, 77U, 78U); },
     [](DxrMessageFilter *filter, uint32_t count) {
         DXR_SetMessageFilterCount(filter, count, 2, 77U, 78U);
     }},
    {"15 types",
     [](DxrMessageFilter *filter) {
         return DXR_IsMessageFiltered(filter, 15, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U,
                                      13U, 14U, 15U);
     },
     [](DxrMessageFilter *filter, uint32_t count) {
         DXR_SetMessageFilterCount(filter, count, 15, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U,
                                   12U, 13U, 14U, 15U);
     }},
    {"16 types",
     [](DxrMessageFilter *filter) {
         return DXR_IsMessageFiltered(filter, 16, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U,
                                      13U, 14U, 15U, 16U);
     },
     [](DxrMessageFilter *filter, uint32_t count) {
         DXR_SetMessageFilterCount(filter, count, 16, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U,
                                   12U, 13U, 14U, 15U, 16U);
     }},
    {"21 types, deeper than the tree",
     [](DxrMessageFilter *filter) {
         return DXR_IsMessageFiltered(filter, 21, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U, 12U,
                                      13U, 14U, 15U, 16U, 17U, 18U, 19U, 20U, 21U);
     },
     [](DxrMessageFilter *filter, uint32_t count) {
         DXR_SetMessageFilterCount(filter, count, 21, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 10U, 11U,
                                   12U, 13U, 14U, 15U, 16U, 17U, 18U, 19U, 20U, 21U);
     }},
};

TEST_F(NewFaults, IsMessageFilteredAndSetMessageFilterCount) {
    for (const Query &query : kQueries) {
        for (const bool withHostLeaf : {false, true}) {
            SCOPED_TRACE(query.name);
            DxrMessageFilter *filter = Chain(withHostLeaf);
            const std::string before = Listing(*filter);
            uint8_t expected = query.ask(filter);
            const std::string asked = Listing(*filter);
            query.set(filter, 77);
            const std::string set = Listing(*filter);
            DXR_DestroyMessageFilter(&filter);

            const auto renew = [&] {
                DXR_DestroyMessageFilter(&filter);
                filter = Chain(withHostLeaf);
            };
            const auto unchanged = [&](size_t) {
                EXPECT_EQ(NewWatch::Live(), 0U);
                EXPECT_EQ(Listing(*filter), before);
                EXPECT_EQ(query.ask(filter), expected);
                EXPECT_EQ(Listing(*filter), asked);
            };
            uint8_t answer = 0;
            FailEach(
                renew, [&] { answer = query.ask(filter); }, unchanged,
                [&] {
                    EXPECT_EQ(answer, expected);
                    EXPECT_EQ(Listing(*filter), asked);
                    EXPECT_EQ(NewWatch::Live(), 0U);
                });
            FailEach(
                renew, [&] { query.set(filter, 77); }, unchanged,
                [&] {
                    EXPECT_EQ(Listing(*filter), set);
                    EXPECT_EQ(NewWatch::Live(), 0U);
                });
            DXR_DestroyMessageFilter(&filter);
        }
    }
    EXPECT_GT(failures_, 50U);
}

// Constructing a component, which only a class derived from it can.
class OwnNode : public MessageFilterComponent {
  public:
    explicit OwnNode(const std::string &text) : MessageFilterComponent(text, 1, 2, 3) {}
    MessageFilterComponent *Find(std::list<uint32_t> & /*path*/) override { return this; }
};

TEST_F(NewFaults, ConstructingNodes) {
    for (const std::string &name : {kShort, kLong, std::string(10000, 'n')}) {
        std::unique_ptr<MessageFilterComponent> node;
        const std::function<void()> makers[] = {
            [&] { node = std::make_unique<OwnNode>(name); },
            [&] { node = std::make_unique<MessageFilterComposite>(name, 1, 2, 3); },
            [&] { node = std::make_unique<MessageFilterLeaf>(name, 1, 2, 3); },
        };
        for (const auto &make : makers) {
            FailEach([&] { node.reset(); }, make,
                     [&](size_t) {
                         EXPECT_EQ(node, nullptr);
                         EXPECT_EQ(NewWatch::Live(), 0U);
                     },
                     [&] {
                         EXPECT_EQ(Listing(*node),
                                   "            msgType[1], lostCnt[2], name[" + name + "]\r\n");
                         node.reset();
                         EXPECT_EQ(NewWatch::Live(), 0U);
                     });
        }
    }
    EXPECT_EQ(failures_, 2U * (3 + 6 + 6));
}

// The composite owns the child from the call on: the one that it cannot keep is freed.
TEST_F(NewFaults, Add) {
    struct Child : MessageFilterLeaf {
        explicit Child(int *freed) : MessageFilterLeaf(kShort, 99, 1, 1), freed_(freed) {}
        ~Child() override { ++*freed_; }
        Child(const Child &) = delete;
        Child &operator=(const Child &) = delete;
        int *freed_;
    };
    for (uint32_t children = 0; children < 70; ++children) {
        std::unique_ptr<MessageFilterComposite> parent;
        std::string before;
        int freed = 0;
        Child *child = nullptr;
        FailEach(
            [&] {
                parent = std::make_unique<MessageFilterComposite>(kShort, 0, 0, 0);
                for (uint32_t i = 0; i < children; ++i) {
                    parent->Add(new MessageFilterLeaf(kShort, i, 1, 1));
                }
                before = Listing(*parent);
                freed = 0;
                child = new Child(&freed);
            },
            [&] { parent->Add(child); },
            [&](size_t) {
                EXPECT_EQ(freed, 1);
                EXPECT_EQ(Listing(*parent), before);
                EXPECT_EQ(NewWatch::Live(), 0U);
                parent->Add(new MessageFilterLeaf(kShort, 99, 1, 1));
                std::list<uint32_t> path = {0, 99};
                EXPECT_TRUE(parent->IsFiltered(path));
                parent.reset();
                EXPECT_EQ(freed, 1);
            },
            [&] {
                EXPECT_EQ(freed, 0);
                parent.reset();
                EXPECT_EQ(freed, 1);
                EXPECT_EQ(NewWatch::Live(), 0U);
            });
    }
    EXPECT_GT(failures_, 10U);
}

TEST_F(NewFaults, FaultRules) {
    using Pairs = std::vector<std::pair<uint32_t, uint32_t>>;
    static DxrCounter counter{};
    counter.IncreaseCount();
    for (const size_t count : {0U, 1U, 2U, 100U}) {
        Pairs pairs(count, {10, 1});
        const Pairs given = pairs;
        const bool expected = count > 0;
        std::unique_ptr<DxrFaultSpec> spec;
        const auto nothing = [&](size_t) {
            EXPECT_EQ(spec, nullptr);
            EXPECT_EQ(NewWatch::Live(), 0U);
            EXPECT_EQ(pairs, given);
        };
        const auto answers = [&](bool satisfied) {
            ASSERT_NE(spec, nullptr);
            EXPECT_EQ(spec->IsSatisfied(&counter), satisfied);
            spec.reset();
            EXPECT_EQ(NewWatch::Live(), 0U);
        };
        const auto reset = [&] { spec.reset(); };
        FailEach(
            reset, [&] { spec = DxrFaultSpecFactory().CreateSpec(10, 1); }, nothing,
            [&] { answers(true); });
        FailEach(
            reset, [&] { spec = DxrFaultSpecFactory().CreateSpec(pairs); }, nothing,
            [&] { answers(expected); });
        FailEach(
            reset, [&] { spec = std::make_unique<DxrFaultMultiAccumulatedSpec>(pairs); }, nothing,
            [&] { answers(expected); });
        FailEach(
            reset, [&] { spec = std::make_unique<DxrFaultAccumulatedSpec>(10, 1); }, nothing,
            [&] { answers(true); });
        FailEach(
            reset, [&] { spec = std::make_unique<DxrFaultTimeoutSpec>(10); }, nothing,
            [&] { answers(false); });
    }
    EXPECT_EQ(failures_, 2U * (4 * 3 + (1 + 3 * 2) + (1 + 3 * 2)));
}

}  // namespace
