// The changes to the trees of the object model, counted, so that values read from a tree can be
// kept until a tree changes.
#ifndef SARVIK_SUPPORT_TREE_GENERATION_H_
#define SARVIK_SUPPORT_TREE_GENERATION_H_

#include <cstdint>

namespace Vexil {

// How many changes the operations of this model have made so far to any tree, of any document
// and on any thread: loads (failed ones too), new roots, nodes attached or removed, attributes
// and texts set or removed. A value read from a tree while the count stood still is what a new
// read would give. Starts at 1. Changes made past the model, through libxml++ or libxml2
// directly, are not counted. Any thread.
uint64_t TreeGeneration();

// Counts one change; each changing operation of the model calls it before it changes anything.
void CountTreeChange();

}  // namespace Vexil

#endif  // SARVIK_SUPPORT_TREE_GENERATION_H_
