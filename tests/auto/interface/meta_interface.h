#pragma once

#include <QByteArray>
#include <QList>
#include <QMetaMethod>
#include <QMetaObject>
#include <QMetaProperty>
#include <QSet>

// One member of the interface a class shows through its meta-object, as the front end
// reaches it: a property, a signal, a slot, an invokable method or an enumeration.
struct MetaMember
{
    enum Kind { Property, Signal, Slot, Invokable, Enumeration };

    Kind kind = Property;
    // Property or enumeration: its name. Method: its normalised signature.
    QByteArray name;
    // Property: its type. Method: its return type ("void" for none).
    QByteArray type;
    // Property: the signature of its change signal, empty when it has none.
    QByteArray notify;
    bool writable = false;
    bool constant = false;
    // Method: the declared parameter names; not checked when the declaration names none.
    QList<QByteArray> parameterNames;
    bool namesChecked = false;
    QMetaMethod::Access access = QMetaMethod::Public;
    // Enumeration: known as a meta-type by its qualified name.
    bool registeredByName = false;
    // Method: how many trailing parameters have a default (each adds a shorter overload).
    int defaulted = 0;

    // The signatures this member adds to a meta-object: the method and its shorter forms.
    QList<QByteArray> signatures() const
    {
        if (kind == Property || kind == Enumeration)
            return { name };
        // moc records qint64 by the name of the type behind it.
        const QByteArray normalised =
                QMetaObject::normalizedSignature(QByteArray(name).replace("qint64", "qlonglong").constData());
        QList<QByteArray> all { normalised };
        QByteArray shorter = normalised;
        for (int i = 0; i < defaulted; ++i) {
            const int open = shorter.indexOf('(');
            const int lastComma = shorter.lastIndexOf(',');
            shorter = (lastComma > open ? shorter.left(lastComma) : shorter.left(open + 1)) + ')';
            all << shorter;
        }
        return all;
    }
};

Q_DECLARE_METATYPE(MetaMember)

namespace Interface {

// A read-only property with its change signal.
inline MetaMember property(const char *name, const char *type, const char *notify)
{
    MetaMember m;
    m.kind = MetaMember::Property;
    m.name = name;
    m.type = type;
    m.notify = notify;
    return m;
}

inline MetaMember writableProperty(const char *name, const char *type, const char *notify)
{
    MetaMember m = property(name, type, notify);
    m.writable = true;
    return m;
}

inline MetaMember constantProperty(const char *name, const char *type)
{
    MetaMember m = property(name, type, "");
    m.constant = true;
    return m;
}

// A field of a value type: readable and writable, no change signal.
inline MetaMember field(const char *name, const char *type)
{
    return writableProperty(name, type, "");
}

inline MetaMember method(MetaMember::Kind kind, const char *signature, const char *returnType,
                         QList<QByteArray> names, bool namesChecked)
{
    MetaMember m;
    m.kind = kind;
    m.name = signature;
    m.type = returnType;
    m.parameterNames = std::move(names);
    m.namesChecked = namesChecked;
    return m;
}

inline MetaMember signal(const char *signature, QList<QByteArray> names = {})
{
    return method(MetaMember::Signal, signature, "void", std::move(names), true);
}

// A signal whose parameter names the interface leaves open.
inline MetaMember signalTypesOnly(const char *signature)
{
    return method(MetaMember::Signal, signature, "void", {}, false);
}

inline MetaMember slot(const char *signature, const char *returnType = "void", QList<QByteArray> names = {},
                       int defaulted = 0)
{
    MetaMember m = method(MetaMember::Slot, signature, returnType, std::move(names), true);
    m.defaulted = defaulted;
    return m;
}

inline MetaMember privateSlot(const char *signature, QList<QByteArray> names = {}, int defaulted = 0,
                              bool namesChecked = true)
{
    MetaMember m = method(MetaMember::Slot, signature, "void", std::move(names), namesChecked);
    m.access = QMetaMethod::Private;
    m.defaulted = defaulted;
    return m;
}

inline MetaMember invokable(const char *signature, const char *returnType = "void", QList<QByteArray> names = {})
{
    return method(MetaMember::Invokable, signature, returnType, std::move(names), true);
}

// An enumeration; byName: it appears in method signatures, so it must be known as a meta-type
// under its qualified name before the first call.
inline MetaMember enumeration(const char *name, bool byName = true)
{
    MetaMember m;
    m.kind = MetaMember::Enumeration;
    m.name = name;
    m.registeredByName = byName;
    return m;
}

// What the class's own section of the meta-object holds, in the form of MetaMember::signatures.
inline QSet<QByteArray> ownSection(const QMetaObject *meta)
{
    QSet<QByteArray> own;
    for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i)
        own.insert(meta->property(i).name());
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        own.insert(meta->method(i).methodSignature());
    for (int i = meta->enumeratorOffset(); i < meta->enumeratorCount(); ++i)
        own.insert(meta->enumerator(i).name());
    return own;
}

inline QSet<QByteArray> expectedSection(const QList<MetaMember> &members)
{
    QSet<QByteArray> expected;
    for (const MetaMember &m : members)
        for (const QByteArray &signature : m.signatures())
            expected.insert(signature);
    return expected;
}

} // namespace Interface
