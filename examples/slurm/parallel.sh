#!/bin/sh
# parallel.sh RECORDS DATABASE HOST...: adds the records with GNU parallel on several machines. Each machine must have
# dipx and see the folder RECORDS; DATABASE is the URL of a PostgreSQL database that all of them can reach.
set -eu
records=$1
database=$2
shift 2
hosts=$(echo "$*" | tr ' ' ',')
# One task at a time runs on a host, with a worker for each of its processors. A task that fails is tried again.
seq 1 $(($# * 8)) | parallel --jobs 1 --sshlogin "$hosts" --retries 3 --joblog parallel.log \
  dipx archive add "$database" "$records" --shard "{}/$(($# * 8))"
