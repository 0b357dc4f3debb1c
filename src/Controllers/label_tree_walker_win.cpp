#include "Controllers/label_tree_walker.h"

namespace LabelTreeWalker {

void walkFiles(const QString &root, const Visitor &visit)
{
    walkWithIterator(root, visit);
}

} // namespace LabelTreeWalker
