// The facade CBrntCmd with a server behind it, once per test process.
#pragma once

#include "rowserver.h"

// Starts the facade towards a server of rows at the first call, and takes away the commands that every start begins
// with; forgets the server's rows and requests at each. The server lives as long as the process.
CRowServer& FacadeServer();

// Gives the process its REST client back, after a test that took it away or put another in its place.
void RestoreClient();
