"""Sends numbered telegrams to one group, and writes down those of another: xknx-client.py routing|tunnelling GROUP COUNT TO FROM"""

import asyncio
import sys

from xknx import XKNX
from xknx.dpt import DPTArray
from xknx.io import ConnectionConfig, ConnectionType
from xknx.telegram import GroupAddress, Telegram
from xknx.telegram.apci import GroupValueWrite

PATIENCE = 300  # s


def connection(kind, group):
    if kind == "routing":
        return ConnectionConfig(
            connection_type=ConnectionType.ROUTING, multicast_group=group, local_ip="127.0.0.1", individual_address="15.15.250"
        )
    return ConnectionConfig(connection_type=ConnectionType.TUNNELING, gateway_ip="127.0.0.1", local_ip="127.0.0.1")


async def main():
    kind, group, count, there, back = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4], sys.argv[5]
    heard = 0
    done = asyncio.Event()

    def on_telegram(telegram):
        nonlocal heard
        if str(telegram.destination_address) == back and isinstance(telegram.payload, GroupValueWrite):
            print(f"Write from {telegram.source_address} to {back}: " + " ".join(f"{byte:02X}" for byte in telegram.payload.value.value), flush=True)
            heard += 1
            if heard == count:
                done.set()

    client = XKNX(connection_config=connection(kind, group), telegram_received_cb=on_telegram)
    await client.start()
    for number in range(count):
        value = GroupValueWrite(DPTArray((number // 256, number % 256)))
        await client.telegrams.put(Telegram(destination_address=GroupAddress(there), payload=value))
    await client.telegrams.join()
    await asyncio.wait_for(done.wait(), PATIENCE)
    await client.stop()


asyncio.run(main())
