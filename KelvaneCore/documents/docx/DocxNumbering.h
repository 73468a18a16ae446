#pragma once

#include "documents/ListNumbering.h"

#include <QByteArray>

#include <map>
#include <optional>

class QXmlStreamReader;

namespace kelvane::Docx {

// numbering.xml: the levels each numId stands for, with its start overrides applied.
class Numbering {
public:
    // Throws on malformed XML.
    void read(const QByteArray& xml);

    // None for numId 0 (numbering switched off) and for unknown ids.
    const ListNumbering::Levels* levels(int numId) const;

private:
    void readAbstract(QXmlStreamReader& xml);
    void readNum(QXmlStreamReader& xml);

    struct Num {
        int abstract = 0;
        std::map<int, int> startOverrides; // level to start
    };
    std::map<int, ListNumbering::Levels> abstracts_;
    std::map<int, Num> nums_;
    std::map<int, ListNumbering::Levels> resolved_; // by numId
};

} // namespace kelvane::Docx
