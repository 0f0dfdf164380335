#pragma once

// The three threads that turn the messages of one channel each into calls of a request handler.
//
// Each is a thread body for pthread_create that takes the address of the collection lock (a
// pthread_mutex_t), owns its Redis connections and handles one message at a time, in the order of
// arrival. It ends when a connection cannot be made or its subscription fails, and is not started
// again. A message that cannot be handled is dropped; what a handler throws ends the process.

// Creation requests, on CREATE_CHANNEL; each message gets a work connection of its own.
void* createListenerThread(void* collectionLock);

// Deletion requests, on DELETE_CHANNEL; each message gets a work connection of its own.
void* deleteListenerThread(void* collectionLock);

// Action requests, on ACTION_CHANNEL; all share one work connection. The lock is not used.
void* actionListenerThread(void* collectionLock);
