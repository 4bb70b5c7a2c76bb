#include "transports/BcastUDP.h"

CBcastUDP::CBcastUDP() = default;

CBcastUDP::~CBcastUDP() = default;
