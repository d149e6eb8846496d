// Building every table of the engine in its fixed order.
#pragma once

void InitEngineTables();
