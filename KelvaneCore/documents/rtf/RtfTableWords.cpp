#include "documents/rtf/RtfReading.h"

namespace kelvane::Rtf {

bool Reader::tableWord(KeywordInfo info, const Token& token) {
    switch (info.keyword) {
    case Keyword::Cell:
        if (state().destination == Destination::Body) {
            builder_.endCell(paragraphEnd());
            listTextSeen_ = false;
            listText_.clear();
        }
        break;
    case Keyword::Row:
        builder_.endRow();
        break;
    case Keyword::RowDefaults:
        builder_.defineRow();
        break;
    case Keyword::HeaderRow:
        builder_.markHeaderRow();
        break;
    case Keyword::RowPadding:
        builder_.setRowPadding(info.value, token.parameter);
        break;
    case Keyword::CellPadding:
        builder_.setCellPadding(info.value, token.parameter);
        break;
    case Keyword::RowGap:
        builder_.setRowPadding(-1, token.parameter);
        break;
    case Keyword::RowLeft:
        builder_.setRowLeft(token.parameter);
        break;
    case Keyword::CellRight:
        builder_.addCellBoundary(token.parameter);
        break;
    case Keyword::CellMerge:
        builder_.mergeCell(static_cast<CellMerge>(info.value));
        break;
    case Keyword::CellShading:
        builder_.shadeCell(colorAt(token.parameter));
        break;
    case Keyword::CellBorder:
        builder_.nameBorderSide(static_cast<BorderSide>(info.value));
        break;
    case Keyword::BorderStyle:
        builder_.drawBorderSide(static_cast<QTextFrameFormat::BorderStyle>(info.value));
        break;
    case Keyword::BorderWidth:
        builder_.setBorderWidth(token.parameter);
        break;
    case Keyword::BorderColor:
        builder_.setBorderColor(colorAt(token.parameter));
        break;
    default:
        return false;
    }
    return true;
}

} // namespace kelvane::Rtf
