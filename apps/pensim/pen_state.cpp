#include "pen_state.h"

#include "instructions.h"

#include <algorithm>

namespace pensim {

void PageStore::add(PageSpec page)
{
    m_bytes += page.size();
    m_places.emplace(page.address, m_pages.size());
    m_pages.push_back(std::move(page));
}

const PageSpec *PageStore::find(std::uint64_t address) const
{
    const auto place = m_places.find(address);
    return place == m_places.end() ? nullptr : &m_pages[place->second];
}

std::size_t PageStore::remove(std::uint64_t pattern)
{
    const std::size_t before = m_pages.size();
    std::erase_if(m_pages,
                  [pattern](const PageSpec &page) { return pageAddressMatches(page.address, pattern); });
    index();
    return before - m_pages.size();
}

void PageStore::clear()
{
    m_pages.clear();
    index();
}

void PageStore::index()
{
    m_places.clear();
    m_bytes = 0;
    for (std::size_t place = 0; place < m_pages.size(); ++place) {
        m_places.emplace(m_pages[place].address, place);
        m_bytes += m_pages[place].size();
    }
}

PenState::PenState(const PenSpec &spec)
    : penId(spec.id),
      softwareVersion(spec.softwareVersion),
      chainingValue(spec.chainingValue),
      properties(spec),
      styloPages(spec.styloPages),
      locked(spec.locked.value_or(!spec.password.empty())),
      password(spec.password),
      hint(spec.hint),
      encryptedData(spec.encryptedData),
      syncBusy(spec.busy),
      dfu(spec.dfu, spec.dfuMode)
{
    for (const PageSpec &page : spec.pages)
        pages.add(page);
}

Answer PenState::handle(const Request &request, std::uint64_t connection)
{
    const Instruction *instruction = findInstruction(request.code);
    if (instruction == nullptr || !instruction->isKnownTo(*this))
        return {status::unknownInstruction, {}};
    if (locked && !dfu.dfuMode() && !instruction->whenLocked)
        return {status::locked, {}};
    if (!instruction->accepts(request))
        return {status::badArguments, {}};
    return instruction->carryOut(*this, request, connection);
}

void PenState::connectionClosed(std::uint64_t connection)
{
    if (sessionOwner == connection)
        sessionOwner.reset();
}

void PenState::dock()
{
    sessionOwner.reset();
    properties.seeHost();
    locked = locked || !password.empty();
}

bool PenState::passwordMatches(const Value &digest) const
{
    const DigestBlock expected = passwordDigest(password, penId, chainingValue);
    return std::equal(digest.bytes().begin(), digest.bytes().end(), expected.begin(), expected.end());
}

void PenState::setPassword(std::string newPassword)
{
    password = std::move(newPassword);
    locked = locked && !password.empty();
}

} // namespace pensim
