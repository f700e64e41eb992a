#include "api/MessageTable.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <span>

#include "base/MessageTable.h"

namespace API
{
namespace
{

constexpr BSE::TMessageRow g_messages[] = {
#include "api/MessageTable.inc"
};

static_assert(std::size(g_messages) == 802);
static_assert(std::ranges::adjacent_find(g_messages, std::greater_equal<>(), &BSE::TMessageRow::m_nCode) ==
              std::ranges::end(g_messages));

// Errors may be reported and rendered before the library is started.
const struct TInstaller
{
  TInstaller() { InstallMessageTable(); }
} g_installer;

}  // namespace

void InstallMessageTable()
{
  BSE::CMessageTable::Install(g_messages);
}

}  // namespace API
