#pragma once

#include <QString>

#include <functional>

// Walks a label folder tree for its files, exactly as QDirIterator with Subdirectories and
// default filters does: entries in directory order, each sub-directory walked where it is
// met; hidden entries, broken links and special files left out; symbolic links to
// directories neither listed nor followed (so a link loop cannot repeat the walk); unreadable
// directories passed over.
//
// The root may be given in any spelling of its path ("labels", "labels/", "labels//."): the
// directories reported are always clean absolute paths, equal to QFileInfo::absolutePath() of
// the files in them, so they can be compared with the records' folders.
namespace LabelTreeWalker {

// dir is the entry's directory as a clean absolute path, name its file name.
using Visitor = std::function<void(const QString &dir, const QString &name)>;

// The platform's walk: from directory entries on Unix, walkWithIterator elsewhere.
void walkFiles(const QString &root, const Visitor &visit);

// The same walk through QDirIterator, on every platform.
void walkWithIterator(const QString &root, const Visitor &visit);

// root as a clean absolute path; "/" and drive roots ("C:/") keep their final "/".
QString cleanRoot(const QString &root);

// dir + "/" + name, without doubling the "/" of a root such as "/" or "C:/".
QString childPath(const QString &dir, const QString &name);

} // namespace LabelTreeWalker
