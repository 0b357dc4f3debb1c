#include "Controllers/label_tree_walker.h"

#include <QFile>

#include <vector>

#include <dirent.h>
#include <sys/stat.h>

namespace LabelTreeWalker {

namespace {

struct Level
{
    DIR *handle;
    QString path;
    QByteArray nativePath;
};

} // namespace

// The directory entries' own types spare the stat per file that QDirIterator's file infos
// cost; only links and entries of unknown type are looked at further.
void walkFiles(const QString &root, const Visitor &visit)
{
    // Every directory's path is built from the root's, so a root written "labels/" would give
    // "labels/" and "labels//sub", which never equal the records' folders.
    const QString rootPath = cleanRoot(root);
    const QByteArray nativeRoot = QFile::encodeName(rootPath);
    DIR *rootHandle = opendir(nativeRoot.constData());
    if (!rootHandle)
        return;

    std::vector<Level> stack;
    stack.push_back({ rootHandle, rootPath, nativeRoot });
    while (!stack.empty()) {
        const dirent *entry = readdir(stack.back().handle);
        if (!entry) {
            closedir(stack.back().handle);
            stack.pop_back();
            continue;
        }
        const char *nativeName = entry->d_name;
        if (nativeName[0] == '.') // hidden, "." and ".."
            continue;
        const QByteArray nativeName8 = QByteArray::fromRawData(nativeName, qsizetype(strlen(nativeName)));
        const QString name = QFile::decodeName(nativeName8);
        // A name that does not decode cannot be named again; Qt's own listing drops it too.
        if (name.contains(QChar::ReplacementCharacter) && QFile::encodeName(name) != nativeName8)
            continue;

        const Level &level = stack.back();
        const QByteArray nativePath = level.nativePath.endsWith('/')
                ? level.nativePath + nativeName8
                : level.nativePath + '/' + nativeName8;
        bool isDir = false;
        bool isLink = false;
        switch (entry->d_type) {
        case DT_DIR:
            isDir = true;
            break;
        case DT_REG:
            break;
        case DT_LNK:
        case DT_UNKNOWN: {
            struct stat st;
            if (lstat(nativePath.constData(), &st) != 0)
                continue; // gone since it was listed
            isLink = S_ISLNK(st.st_mode);
            if (isLink && stat(nativePath.constData(), &st) != 0)
                continue; // a broken link
            isDir = S_ISDIR(st.st_mode);
            if (!isLink && !isDir && !S_ISREG(st.st_mode))
                continue; // fifo, socket, device
            break;
        }
        default:
            continue; // fifo, socket, device
        }

        if (isDir) {
            if (!isLink) {
                if (DIR *sub = opendir(nativePath.constData())) {
                    QString path = childPath(level.path, name);
                    stack.push_back({ sub, std::move(path), nativePath });
                }
            }
            continue;
        }
        visit(level.path, name);
    }
}

} // namespace LabelTreeWalker
