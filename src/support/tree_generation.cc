// The changes to the trees of the object model, counted.
#include "support/tree_generation.h"

#include <atomic>

namespace Vexil {

namespace {

std::atomic<uint64_t> generation{1};

}  // namespace

uint64_t TreeGeneration() { return generation.load(std::memory_order_acquire); }

void CountTreeChange() { generation.fetch_add(1, std::memory_order_acq_rel); }

}  // namespace Vexil
