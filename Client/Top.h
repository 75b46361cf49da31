#pragma once

#include "Bus.h"
#include "Command.h"
#include "Filter.h"
#include "GroupNames.h"
#include "GroupTable.h"

namespace OrvelClient
{

struct TopOptions
{
    void AddTo(Arguments::Parser& parser);

    GroupTable::Order order = GroupTable::Order::Rate;
    Filter filter;
    NamesFile names;
    BusOptions bus;
};

/// Shows in the terminal what the groups of the bus have last told, and how busy it is.
Command TopCommand();

} // namespace OrvelClient
