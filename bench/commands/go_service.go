// A peer: a service in Go, which installs and controls itself, always in the System V form.
package main

import (
	"log"
	"os"

	"github.com/kardianos/service"
)

type idle struct{}

func (idle) Start(service.Service) error { return nil }
func (idle) Stop(service.Service) error  { return nil }

func newService() (service.Service, error) {
	config := &service.Config{Name: "go_service", DisplayName: "Go service", Description: "Does nothing."}
	for _, system := range service.AvailableSystems() {
		if system.String() == "unix-systemv" {
			return system.New(idle{}, config)
		}
	}
	return nil, service.ErrNoServiceSystemDetected
}

func main() {
	daemon, err := newService()
	if err != nil {
		log.Fatal(err)
	}
	if len(os.Args) > 1 {
		err = service.Control(daemon, os.Args[1])
	} else {
		err = daemon.Run()
	}
	if err != nil {
		log.Fatal(err)
	}
}
