"""The processor that the agent runs on, which may differ from that of everything else here."""
from __future__ import annotations

import os
import struct

#: In bytes. The agent library passes integers in this size.
SIZE_OF_LONG = int(os.environ.get("TARNO_SIZE_OF_LONG", struct.calcsize("l")))
