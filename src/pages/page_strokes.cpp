#include "pages/page_strokes.h"

namespace zel {

std::uint32_t PenPageStrokes::byteSize() const
{
    return m_strokes ? static_cast<std::uint32_t>(m_strokes->bytesView().size()) : 0;
}

} // namespace zel
