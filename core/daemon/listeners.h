#pragma once

// The three listener threads: each subscribes to one channel and calls a request handler for every
// message published there.
//
// The functions are bodies for pthread_create and take the address of the collection lock, a
// pthread_mutex_t. A listener owns its Redis connections and handles one message at a time, in the
// order of arrival. It ends when its first connections cannot be made or its subscription fails,
// and is not started again. A message without a connection to work on is dropped; an exception
// from a handler ends the process.

// Creation requests, on CREATE_CHANNEL; each message gets a work connection of its own.
void* createListenerThread(void* collectionLock);

// Deletion requests, on DELETE_CHANNEL; each message gets a work connection of its own.
void* deleteListenerThread(void* collectionLock);

// Action requests, on ACTION_CHANNEL; all share one work connection. The lock is not used.
void* actionListenerThread(void* collectionLock);
