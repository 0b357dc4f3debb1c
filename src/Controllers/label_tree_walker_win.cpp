#include "Controllers/label_tree_walker.h"

#include <QDirIterator>
#include <QFileInfo>

namespace LabelTreeWalker {

void walkFiles(const QString &root, const Visitor &visit)
{
    QDirIterator it(root, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        it.next();
        const QFileInfo info = it.fileInfo();
        if (!info.isDir())
            visit(info.absolutePath(), info.fileName());
    }
}

} // namespace LabelTreeWalker
