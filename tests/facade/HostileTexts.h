// Texts that no host should give, and yet may.
#pragma once

#include <QtCore/QList>
#include <QtCore/QString>

namespace test_support {

constexpr int kLarge = 16 << 20;  // characters

struct HostileText {
    const char* name;
    QString text;
};

inline QList<HostileText> hostileTexts(int large = kLarge) {
    return {
        {"null", QString()},
        {"empty", QString("")},
        {"a zero inside", QString("an") + QChar(0) + "na"},
        {"a zero alone", QString(QChar(0))},
        {"a high surrogate alone", QString("a") + QChar(0xD800)},
        {"a low surrogate alone", QChar(0xDC00) + QString("a")},
        {"surrogates the wrong way round", QString(QChar(0xDC00)) + QChar(0xD800)},
        {"no characters", QString(QChar(0xFFFF)) + QChar(0xFFFE)},
        {"quotes and escapes", QString("\"\\/\b\f\n\r\t'%1 %s %n\x7f")},
        {"beyond the first plane", QString::fromUtf8("𝔸𐍈")},
        {"a long one", QString(large, 'x')},
        {"a long one of escapes", QString(large, QChar(1))},
    };
}

}  // namespace test_support
