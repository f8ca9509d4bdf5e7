#include <utility>

#include "component/DispSvr.h"
#include "external/DbTools.h"

namespace vqloan {

void DispSvr::ShutDown() noexcept
{
    // The helper gets a variable of its own; what it leaves there is kept even when closing failed.
    std::shared_ptr<Connection> connection = Conn;
    try {
        dbTools().CloseConn(connection);
    } catch (...) { // nobody could act on it: the desk is closing
    }
    Conn = std::move(connection);
}

} // namespace vqloan
