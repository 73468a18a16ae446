#pragma once

#include <QString>

class QXmlStreamReader;

namespace kelvane::Docx {

// The current m:oMath or m:oMathPara (Office Math) read to its end as one line of text:
// fractions as "a/b", powers as "x²" or "x^(n+1)", roots as "√(x)", sums with their limits.
QString linearMath(QXmlStreamReader& xml);

} // namespace kelvane::Docx
