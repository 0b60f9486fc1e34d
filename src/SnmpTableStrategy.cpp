#include "SnmpTableStrategy.h"

#include <memory>

namespace
{
/// The link to the first row not below the index: the head or a predecessor's `next`.
IndexNode **linkTo(IndexNode **link, std::int32_t index)
{
    while (*link != nullptr && (*link)->index < index) {
        link = &(*link)->next;
    }
    return link;
}

void freeAll(IndexNode *&head)
{
    while (head != nullptr) {
        const std::unique_ptr<const IndexNode> row(head);
        head = row->next;
    }
}
} // namespace

SnmpTableStrategy::~SnmpTableStrategy()
{
    freeAll(indexes);
}

void SnmpTableStrategy::clear_indexes()
{
    freeAll(indexes);
}

void SnmpTableStrategy::insertIndex(std::int32_t index)
{
    IndexNode **const link = linkTo(&indexes, index);
    if (*link == nullptr || (*link)->index != index) {
        *link = new IndexNode{.index = index, .next = *link};
    }
}

void SnmpTableStrategy::removeIndex(std::int32_t index)
{
    IndexNode **const link = linkTo(&indexes, index);
    if (*link != nullptr && (*link)->index == index) {
        const std::unique_ptr<const IndexNode> row(*link);
        *link = row->next;
    }
}
