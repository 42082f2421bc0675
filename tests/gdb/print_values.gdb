set print elements 0
set width 0
break look_here
run
up
print value
print *value.d
print array
print nothing
print text
print null
