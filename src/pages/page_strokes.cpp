#include "pages/page_strokes.h"

namespace zel {

std::uint32_t PenPageStrokes::byteSize() const
{
    return hasStrokes() ? static_cast<std::uint32_t>(m_strokes.bytesView().size()) : 0;
}

} // namespace zel
