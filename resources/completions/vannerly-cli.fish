# What fish offers after "vannerly-cli".
complete -c vannerly-cli -f -a '(__fish_complete_directories)'
complete -c vannerly-cli -l operation -x -a 'move alias' -d 'What is done with each file'
complete -c vannerly-cli -l rename-duplicates -d 'Give a file whose name is taken a name of its own'
complete -c vannerly-cli -l no-rename-duplicates -d 'Leave a file whose name is taken where it is'
complete -c vannerly-cli -l ignore-applications -d 'Treat packages as single items'
complete -c vannerly-cli -l no-ignore-applications -d 'Take packages apart'
complete -c vannerly-cli -l delete-emptied-folders -d 'Delete the sub-folders with all that is in them'
complete -c vannerly-cli -l no-delete-emptied-folders -d 'Keep the sub-folders'
complete -c vannerly-cli -l delete-to-trash -d 'Move those that hold a file to the trash instead'
complete -c vannerly-cli -l no-delete-to-trash -d 'Delete them for good'
complete -c vannerly-cli -l aggregate-files-when-done -d 'Sort the items by extension'
complete -c vannerly-cli -l no-aggregate-files-when-done -d 'Do not sort the items'
complete -c vannerly-cli -s n -l dry-run -d 'Show what would be done, and do nothing'
complete -c vannerly-cli -l undo -d 'Take back the newest run that is not taken back yet'
complete -c vannerly-cli -l redo -d 'Do again what was taken back last'
complete -c vannerly-cli -l history -d 'List the runs that are kept'
complete -c vannerly-cli -l preferences -d 'Show the preferences'
complete -c vannerly-cli -l set -x -d 'Store a preference' -a "
  Operation={1,2}
  {RenameDuplicates,IgnoreApplications,DeleteEmptiedFolders}={true,false}
  {DeleteToTrash,AggregateFilesWhenDone,QuitWhenDone,PreviewFirst}={true,false}"
complete -c vannerly-cli -l quiet -d 'Show nothing while working, except problems'
complete -c vannerly-cli -l verbose -d 'Name each file left in place, renamed or deleted'
complete -c vannerly-cli -l json -d 'Print the same as JSON when all is done'
complete -c vannerly-cli -l force -d 'Flatten even / or the home folder'
complete -c vannerly-cli -l help -d 'Show the options'
complete -c vannerly-cli -l version -d 'Show the version'
