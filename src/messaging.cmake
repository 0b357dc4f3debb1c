# Message payload: the record, its byte format, the guarded reader and request invocation live
# in the protocol library (protocol.cmake), which the module side links too.
