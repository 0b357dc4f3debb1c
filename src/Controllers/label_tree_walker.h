#pragma once

#include <QString>

#include <functional>

// Walks a label folder tree for its files, exactly as QDirIterator with Subdirectories and
// default filters does: entries in directory order, each sub-directory walked where it is
// met; hidden entries, broken links and special files left out; symbolic links to
// directories neither listed nor followed (so a link loop cannot repeat the walk); unreadable
// directories passed over.
namespace LabelTreeWalker {

// dir is the entry's directory as an absolute path, name its file name.
using Visitor = std::function<void(const QString &dir, const QString &name)>;

void walkFiles(const QString &root, const Visitor &visit);

} // namespace LabelTreeWalker
