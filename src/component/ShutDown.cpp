#include <utility>

#include "component/DispSvr.h"
#include "external/DbTools.h"

namespace vqloan {

void DispSvr::ShutDown() noexcept
{
    // DbTools gets a variable of its own: Conn becomes what is left in it, whether closing succeeds or not.
    std::shared_ptr<Connection> connection = Conn;
    try {
        dbTools().CloseConn(connection);
    } catch (...) { // nobody could act on it: the desk is closing
    }
    Conn = std::move(connection);
}

} // namespace vqloan
