#pragma once

/// Has four threads make 20,000 connections to a server and send it garbage while a conversation goes on there. Prints the
/// figures and returns whether the conversation kept a third of its rate, memory grew by at most 64 MiB, and the log
/// stayed short.
bool FloodServer();
