# cmake -DIN=file -DOUT=file.gz -P CompressFile.cmake: the same bytes for the same contents, without name and time.
execute_process(COMMAND gzip -9nc ${IN} OUTPUT_FILE ${OUT} COMMAND_ERROR_IS_FATAL ANY)
