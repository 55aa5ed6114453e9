// Anchor of the shared library: its code comes whole from the static core.
